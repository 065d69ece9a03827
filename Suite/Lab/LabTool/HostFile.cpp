#include "Suite/Lab/LabTool/HostFile.h"

#include "Common/Src/RavUtf8.h"
#include "Src/RavVlanTypes.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <set>

using Json = nlohmann::json;

namespace
{
constexpr size_t MAX_VLAN_NAME = 32;
constexpr char FORBIDDEN_IN_VLAN_NAMES[] = "/\\*:><|?\"";
// What makes a driver key the key of this adapter.
constexpr const char* OWN_VALUES[] = {"NetCfgInstanceId", "ComponentId",     "DriverDesc",      "ProviderName",
                                      "DriverVersion",    "Characteristics", "DeviceInstanceID"};

[[noreturn]] void Fail(const std::string& place, const std::string& reason)
{
    throw HostFileError(place + ": " + reason);
}

std::string At(const std::string& list, size_t index)
{
    return list + "[" + std::to_string(index) + "]";
}

// For comparing names of the registry and of adapters, in which letter case makes no difference.
std::wstring Folded(const std::string& text)
{
    CRavString folded = FromUtf8(text);
    folded.MakeLower();
    return folded;
}

std::string TextAt(const Json& json, const std::string& place)
{
    std::string text = json.is_string() ? json.get<std::string>() : "";
    if (text.empty() || text.find('\0') != std::string::npos)
        Fail(place, "a text is needed");
    return text;
}

int NumberAt(const Json& json, const std::string& place, int min, int max)
{
    const bool isHuge = json.is_number_unsigned() && json.get<uint64_t>() > INT_MAX;
    if (!json.is_number_integer() || isHuge || json.get<int64_t>() < min || json.get<int64_t>() > max)
        Fail(place, "a number from " + std::to_string(min) + " to " + std::to_string(max) + " is needed");
    return json.get<int>();
}

enum class Need
{
    Optional,
    Required
};

// One object of the file: reads members of a known type, and finds the unknown ones.
class Reader
{
  public:
    Reader(const Json& json, std::string place) : m_json(json), m_place(std::move(place))
    {
        if (!json.is_object())
            Fail(m_place, "an object is needed here");
    }
    void Text(const char* name, std::string& value, Need need = Need::Optional)
    {
        if (const Json* const member = Member(name, need))
            value = TextAt(*member, Place(name));
    }
    void Flag(const char* name, bool& value)
    {
        const Json* const member = Member(name);
        if (member != nullptr && !member->is_boolean())
            Bad(name, "true or false is needed");
        if (member != nullptr)
            value = member->get<bool>();
    }
    void Number(const char* name, int& value, int min, int max, Need need = Need::Optional)
    {
        if (const Json* const member = Member(name, need))
            value = NumberAt(*member, Place(name), min, max);
    }
    void Each(const char* name, const std::function<void(const Json&, const std::string&)>& visit)
    {
        const Json* const member = Member(name);
        if (member == nullptr)
            return;
        if (!member->is_array())
            Bad(name, "a list is needed");
        for (size_t index = 0; index < member->size(); ++index)
            visit((*member)[index], At(Place(name), index));
    }
    const Json* Member(const char* name, Need need = Need::Optional)
    {
        m_known.insert(name);
        const auto member = m_json.find(name);
        if (member == m_json.end() && need == Need::Required)
            Bad(name, "is missing");
        return member != m_json.end() ? &*member : nullptr;
    }
    void Finish() const
    {
        for (const auto& [name, value] : m_json.items())
        {
            if (m_known.count(name) == 0)
                Fail(Place(name), "there is no such key");
        }
    }
    std::string Place(const std::string& name) const { return m_place.empty() ? name : m_place + "." + name; }
    std::string Bad(const std::string& name, const std::string& reason) const { Fail(Place(name), reason); }

  private:
    const Json& m_json;
    std::string m_place;
    std::set<std::string> m_known;
};

// A name that becomes the name of a registry key or value.
void CheckKeyword(const std::string& name, const std::string& place)
{
    if (name.find('\\') != std::string::npos)
        Fail(place, "a name without backslashes is needed");
    if (std::any_of(std::begin(OWN_VALUES), std::end(OWN_VALUES),
                    [&](const char* own) { return Folded(own) == Folded(name); }))
        Fail(place, "\"" + name + "\" is what makes this the adapter's key");
}

LabAdapter ParseAdapter(const Json& json, const std::string& place)
{
    LabAdapter adapter;
    Reader reader(json, place);
    reader.Text("name", adapter.name, Need::Required);
    reader.Text("mac", adapter.mac, Need::Required);
    if (adapter.mac.size() != 12 ||
        !std::all_of(adapter.mac.begin(), adapter.mac.end(), [](unsigned char c) { return std::isxdigit(c) != 0; }))
        reader.Bad("mac", "twelve hexadecimal digits are needed");
    reader.Text("address", adapter.address);
    reader.Flag("corvo", adapter.corvo);
    reader.Flag("vlansOnPort", adapter.vlansOnPort);
    reader.Flag("virtualDevice", adapter.virtualDevice);
    reader.Flag("driverLoaded", adapter.driverLoaded);
    reader.Flag("driverSupportsVlans", adapter.driverSupportsVlans);
    reader.Flag("standardKeywords", adapter.standardKeywords);
    reader.Flag("hyperV", adapter.hyperV);
    reader.Flag("dhcp", adapter.dhcp);
    reader.Flag("rebootNeeded", adapter.rebootNeeded);
    if (reader.Member("vmq") != nullptr)
    {
        bool on = false;
        reader.Flag("vmq", on);
        adapter.vmq = on;
    }
    reader.Each("jumboFrames", [&](const Json& size, const std::string& at) {
        const int bytes = NumberAt(size, at, 1514, 65535);
        if (std::find(adapter.jumboFrames.begin(), adapter.jumboFrames.end(), bytes) != adapter.jumboFrames.end())
            Fail(at, "this size is there already");
        adapter.jumboFrames.push_back(bytes);
    });
    if (const Json* const parameters = reader.Member("parameters"))
    {
        if (!parameters->is_object())
            reader.Bad("parameters", "an object of texts is needed");
        for (const auto& [name, value] : parameters->items())
        {
            CheckKeyword(name, place + ".parameters." + name);
            adapter.parameters[name] = TextAt(value, place + ".parameters." + name);
        }
    }
    reader.Finish();
    return adapter;
}

LabTeam ParseTeam(const Json& json, const std::string& place)
{
    LabTeam team;
    Reader reader(json, place);
    reader.Text("name", team.name, Need::Required);
    reader.Number("mode", team.mode, 1, 6);
    reader.Flag("supportsVlans", team.supportsVlans);
    reader.Each("members",
                [&](const Json& member, const std::string& at) { team.members.push_back(TextAt(member, at)); });
    if (team.members.empty())
        reader.Bad("members", "at least one member is needed");
    reader.Finish();
    return team;
}

LabVlan ParseVlan(const Json& json, const std::string& place)
{
    LabVlan vlan;
    Reader reader(json, place);
    reader.Text("parent", vlan.parent, Need::Required);
    reader.Number("id", vlan.id, 0, static_cast<int>(RAV_MAX_VLAN_ID), Need::Required);
    reader.Text("name", vlan.name, Need::Required);
    if (FromUtf8(vlan.name).Length() > MAX_VLAN_NAME || vlan.name.front() == ' ' ||
        vlan.name.find_first_of(FORBIDDEN_IN_VLAN_NAMES) != std::string::npos)
        reader.Bad("name", "at most 32 characters, none of " + std::string(FORBIDDEN_IN_VLAN_NAMES) +
                               ", and no blank at the beginning");
    reader.Finish();
    return vlan;
}

bool HasChoice(const LabSetting& setting, int value)
{
    return std::any_of(setting.choices.begin(), setting.choices.end(),
                       [&](const auto& choice) { return choice.first == value; });
}

LabSetting ParseTemplate(const Json& json, const std::string& place)
{
    LabSetting setting;
    Reader reader(json, place);
    reader.Text("name", setting.name, Need::Required);
    reader.Text("type", setting.type, Need::Required);
    reader.Text("description", setting.description, Need::Required);
    reader.Number("default", setting.defaultValue, INT_MIN, INT_MAX, Need::Required);
    reader.Number("exposeLevel", setting.exposeLevel, 0, 3);
    reader.Number("base", setting.base, 10, 16);
    reader.Number("min", setting.min, INT_MIN, INT_MAX);
    reader.Number("max", setting.max, INT_MIN, INT_MAX);
    reader.Number("step", setting.step, 0, INT_MAX);
    reader.Number("scale", setting.scale, 0, INT_MAX);
    reader.Each("choices", [&](const Json& choice, const std::string& at) {
        Reader one(choice, at);
        int value = 0;
        std::string text;
        one.Number("value", value, INT_MIN, INT_MAX, Need::Required);
        one.Text("text", text, Need::Required);
        one.Finish();
        if (HasChoice(setting, value))
            Fail(at + ".value", "this value is there already");
        setting.choices.emplace_back(value, text);
    });
    CheckKeyword(setting.name, place + ".name");
    if (setting.base != 10 && setting.base != 16)
        reader.Bad("base", "10 or 16 is needed");
    if (setting.type != "enum" && setting.type != "int")
        reader.Bad("type", "\"enum\" or \"int\" is needed");
    if ((setting.type == "enum") == setting.choices.empty())
        reader.Bad("choices", "an \"enum\" needs them, an \"int\" has none");
    if (setting.type == "int" && setting.min > setting.max)
        reader.Bad("min", "\"max\" is smaller");
    if (setting.type == "enum" ? !HasChoice(setting, setting.defaultValue)
                               : setting.defaultValue < setting.min || setting.defaultValue > setting.max)
        reader.Bad("default", "one of the possible values is needed");
    reader.Finish();
    return setting;
}

// Names that must differ in more than their case, and are referred to as they are written.
class Names
{
  public:
    void Add(const std::string& place, const std::string& name)
    {
        if (!m_folded.insert(Folded(name)).second)
            Fail(place, "\"" + name + "\" is there already");
        m_names.insert(name);
    }
    bool Has(const std::string& name) const { return m_names.count(name) != 0; }

  private:
    std::set<std::wstring> m_folded;
    std::set<std::string> m_names;
};

// Checks that need several parts of the file: references, and names that have to differ.
void CheckTogether(const LabHost& host)
{
    Names parents;
    Names macs;
    Names adapters;
    Names members;
    Names vlans;
    Names templates;
    for (size_t index = 0; index < host.adapters.size(); ++index)
    {
        parents.Add(At("adapters", index) + ".name", host.adapters[index].name);
        adapters.Add(At("adapters", index) + ".name", host.adapters[index].name);
        macs.Add(At("adapters", index) + ".mac", host.adapters[index].mac);
    }
    for (size_t index = 0; index < host.teams.size(); ++index)
    {
        parents.Add(At("teams", index) + ".name", host.teams[index].name);
        for (size_t member = 0; member < host.teams[index].members.size(); ++member)
        {
            const std::string place = At(At("teams", index) + ".members", member);
            if (!adapters.Has(host.teams[index].members[member]))
                Fail(place, "there is no adapter \"" + host.teams[index].members[member] + "\"");
            members.Add(place, host.teams[index].members[member]);
        }
    }
    for (size_t index = 0; index < host.vlans.size(); ++index)
    {
        const LabVlan& vlan = host.vlans[index];
        if (!parents.Has(vlan.parent))
            Fail(At("vlans", index) + ".parent", "there is no adapter or team \"" + vlan.parent + "\"");
        if (members.Has(vlan.parent))
            Fail(At("vlans", index) + ".parent", "\"" + vlan.parent + "\" is a member of a team");
        vlans.Add(At("vlans", index) + ".id", vlan.parent + "/" + std::to_string(vlan.id));
        vlans.Add(At("vlans", index) + ".name", vlan.parent + " - " + vlan.name);
    }
    for (size_t index = 0; index < host.templates.size(); ++index)
        templates.Add(At("templates", index) + ".name", host.templates[index].name);
}
} // namespace

LabHost ParseHost(const std::string& text)
{
    LabHost host;
    Json json;
    try
    {
        json = Json::parse(text);
    }
    catch (const Json::exception& error)
    {
        throw HostFileError(std::string("this is not JSON: ") + error.what());
    }
    Reader reader(json, "");
    std::string comment;
    reader.Text("comment", comment);
    reader.Text("edition", host.edition);
    if (host.edition != "server" && host.edition != "workstation")
        reader.Bad("edition", "\"server\" or \"workstation\" is needed");
    reader.Each("adapters",
                [&](const Json& item, const std::string& at) { host.adapters.push_back(ParseAdapter(item, at)); });
    reader.Each("teams", [&](const Json& item, const std::string& at) { host.teams.push_back(ParseTeam(item, at)); });
    reader.Each("vlans", [&](const Json& item, const std::string& at) { host.vlans.push_back(ParseVlan(item, at)); });
    reader.Each("templates",
                [&](const Json& item, const std::string& at) { host.templates.push_back(ParseTemplate(item, at)); });
    reader.Finish();
    if (host.adapters.empty())
        reader.Bad("adapters", "at least one adapter is needed");
    CheckTogether(host);
    return host;
}

LabHost ReadHostFile(const std::wstring& path)
{
    FILE* const file = _wfopen(path.c_str(), L"rb");
    if (file == nullptr)
        throw HostFileError("the host file cannot be opened: " + std::string(strerror(errno)));
    std::string text;
    char buffer[4096];
    for (size_t size = 0; (size = fread(buffer, 1, sizeof(buffer), file)) > 0;)
        text.append(buffer, size);
    fclose(file);
    return ParseHost(text);
}
