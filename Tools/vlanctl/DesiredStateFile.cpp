#include "Tools/vlanctl/DesiredStateFile.h"

#include "Common/Src/RavUtf8.h"
#include "Src/RavVlanTypes.h"
#include "Tools/vlanctl/DesiredStateScan.h"
#include "Tools/vlanctl/Session.h"
#include "Tools/vlanctl/TextFile.h"

#include <algorithm>
#include <map>

using Json = nlohmann::ordered_json;

namespace
{
constexpr size_t MOST_OF_A_NAME = 32;
constexpr int64_t LAST_TYPE = 2;

// What the agent would say of the name; empty when it takes it.
const char* NameFault(const std::string& text)
{
    const std::wstring name = WideOf(text);
    if (name.empty())
        return "is empty";
    if (name.find(L'\0') != std::wstring::npos)
        return "holds a zero character";
    if (name.front() == L' ')
        return "begins with a blank";
    if (name.size() > MOST_OF_A_NAME)
        return "is longer than 32 characters";
    return name.find_first_of(L"/\\*:><|?\"") != std::wstring::npos ? "holds one of / \\ * : > < | ? \"" : nullptr;
}

class CFileReader
{
  public:
    explicit CFileReader(std::vector<std::string>& faults) : m_faults(faults) {}

    std::vector<DesiredParent> Read(const Json& file)
    {
        std::vector<DesiredParent> parents;
        Members(file, "", {{"parents", true}, {"$schema", false}});
        const Json* const all = Member(file, "parents", &Json::is_object, "", "an object");
        for (auto parent = all != nullptr ? all->begin() : Json::const_iterator();
             all != nullptr && parent != all->end(); ++parent)
            parents.push_back(Parent(parent.key(), parent.value()));
        return parents;
    }

  private:
    using IS = bool (Json::*)() const noexcept;

    void Fault(const std::string& place, const std::string& text)
    {
        m_faults.push_back((place.empty() ? "the file" : place) + " " + text);
    }

    // Whether it is an object that has no other members than these, and those that it has to have.
    bool Members(const Json& object, const std::string& place, const std::map<std::string, bool>& known)
    {
        if (!object.is_object())
        {
            Fault(place, "is no object");
            return false;
        }
        for (const auto& [name, value] : object.items())
        {
            if (!known.contains(name))
                Fault(PlaceOf(place, name), "is unknown");
        }
        for (const auto& [name, isNeeded] : known)
        {
            if (isNeeded && !object.contains(name))
                Fault(place, "has no \"" + name + "\"");
        }
        return true;
    }

    // Null when there is none of that kind; one of another kind is a fault.
    const Json* Member(const Json& object, const char* name, IS is, const std::string& place, const char* kind)
    {
        if (!object.is_object() || !object.contains(name))
            return nullptr;
        const Json& member = object.at(name);
        if (!(member.*is)())
            Fault(PlaceOf(place, name), std::string("is not ") + kind);
        return (member.*is)() ? &member : nullptr;
    }

    DesiredParent Parent(const std::string& name, const Json& value)
    {
        DesiredParent parent = {name, PlaceOf(PlaceOf("", "parents"), name), {}};
        Members(value, parent.place, {{"vlans", true}});
        if (const Json* const vlans = Member(value, "vlans", &Json::is_array, parent.place, "a list"))
        {
            for (size_t index = 0; index < vlans->size(); ++index)
                parent.vlans.push_back(Vlan(vlans->at(index), PlaceOf(PlaceOf(parent.place, "vlans"), index)));
            RefuseDoubles(*vlans, PlaceOf(parent.place, "vlans"));
        }
        return parent;
    }

    RAV_WANTED_VLAN Vlan(const Json& value, const std::string& place)
    {
        RAV_WANTED_VLAN vlan;
        if (!Members(value, place, {{"id", true}, {"name", true}, {"type", false}, {"settings", false}}))
            return vlan;
        vlan.id = Number(value, "id", place, RAV_MAX_VLAN_ID).value_or(0);
        vlan.type = Number(value, "type", place, LAST_TYPE);
        if (const Json* const name = Member(value, "name", &Json::is_string, place, "a text"))
        {
            if (const char* const fault = NameFault(name->get<std::string>()))
                Fault(PlaceOf(place, "name"), fault);
            vlan.name = FromUtf8(name->get<std::string>());
        }
        if (const Json* const settings = Member(value, "settings", &Json::is_object, place, "an object"))
            vlan.settings = Settings(*settings, PlaceOf(place, "settings"));
        return vlan;
    }

    std::optional<DWORD> Number(const Json& object, const char* name, const std::string& place, int64_t most)
    {
        const Json* const member = object.contains(name) ? &object.at(name) : nullptr;
        if (member == nullptr)
            return std::nullopt;
        if (member->is_number_integer() && *member >= 0 && *member <= most)
            return member->get<DWORD>();
        Fault(PlaceOf(place, name), "is not a whole number from 0 to " + std::to_string(most));
        return std::nullopt;
    }

    std::vector<RAV_WANTED_SETTING> Settings(const Json& object, const std::string& place)
    {
        std::vector<RAV_WANTED_SETTING> settings;
        std::map<CRavString, std::string> keywords;
        for (const auto& [keyword, value] : object.items())
        {
            const std::string here = PlaceOf(place, keyword);
            const auto [other, isNew] = keywords.try_emplace(RavFolded(FromUtf8(keyword)), keyword);
            if (!isNew)
                Fault(here, "is the same setting as \"" + other->second + '"');
            if (!value.is_string() && !value.is_number_integer())
                Fault(here, "is neither a text nor a whole number");
            else
                settings.push_back(
                    {FromUtf8(keyword), FromUtf8(value.is_string() ? value.get<std::string>() : value.dump())});
        }
        return settings;
    }

    // Ids and names that two VLANs have.
    void RefuseDoubles(const Json& vlans, const std::string& place)
    {
        std::map<CRavString, size_t> seen;
        for (size_t index = 0; index < vlans.size(); ++index)
        {
            for (const char* const key : {"id", "name"})
            {
                const Json* const value =
                    vlans[index].is_object() && vlans[index].contains(key) ? &vlans[index].at(key) : nullptr;
                if (value == nullptr || (!value->is_string() && !value->is_number()))
                    continue;
                const auto [first, isNew] = seen.try_emplace(RavFolded(FromUtf8(key + value->dump())), index);
                if (!isNew)
                    Fault(PlaceOf(PlaceOf(place, index), key), "is that of " + PlaceOf(place, first->second) + ", too");
            }
        }
    }

    std::vector<std::string>& m_faults;
};

} // namespace

std::vector<DesiredParent> ParseDesiredState(const std::string& text)
{
    std::vector<std::string> faults;
    std::vector<DesiredParent> parents;
    const Json file = ScanJson(text, faults);
    if (faults.empty())
        parents = CFileReader(faults).Read(file);
    if (faults.empty())
        return parents;
    std::string message;
    for (const std::string& fault : faults)
        message += (message.empty() ? "" : "\n") + fault;
    throw CommandError(EXIT_REFUSED, message);
}

std::vector<DesiredParent> ReadDesiredState(const std::string& path)
{
    const std::string text = ReadTextFile(path);
    try
    {
        return ParseDesiredState(text);
    }
    catch (const CommandError& error)
    {
        throw CommandError(error.Status(), path + ":\n" + error.what());
    }
}

nlohmann::ordered_json ParentToFile(const RAV_PRESENT_PARENT& parent)
{
    std::vector<const RAV_PRESENT_VLAN*> vlans;
    for (const RAV_PRESENT_VLAN& vlan : parent.vlans)
        vlans.push_back(&vlan);
    std::sort(vlans.begin(), vlans.end(), [](const auto* left, const auto* right) { return left->id < right->id; });
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const RAV_PRESENT_VLAN* const vlan : vlans)
    {
        nlohmann::ordered_json settings = nlohmann::ordered_json::object();
        for (const auto& setting : vlan->settings.value_or(RAV_SETTINGS()))
        {
            const int32_t value = RavCurrentOf(*setting);
            if (setting->ulExposeLevel != RAV_EXPOSE_HIDDEN)
                settings[ToUtf8(setting->strName)] =
                    value == RavDefaultOf(*setting) ? ToUtf8(RAV_DEFAULT_VALUE) : std::to_string(value);
        }
        array.push_back({{"id", vlan->id}, {"name", ToUtf8(vlan->name)}, {"type", vlan->type}, {"settings", settings}});
    }
    return {{"vlans", array}};
}
