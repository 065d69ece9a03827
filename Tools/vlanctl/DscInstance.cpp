#include "Tools/vlanctl/DscInstance.h"

#include "Src/RavVlanTypes.h"
#include "Tools/vlanctl/DesiredStateScan.h"
#include "Tools/vlanctl/Session.h"
#include "Tools/vlanctl/WordList.h"

#include <algorithm>
#include <iterator>

using Json = nlohmann::ordered_json;

namespace
{
constexpr char PARENT[] = "parent";
constexpr char VLANS[] = "vlans";
constexpr char EXIST[] = "_exist";
// What the resource tells itself is passed over when it comes back.
constexpr const char* TOLD[] = {"_inDesiredState", "_rebootRequested"};

bool IsKnown(const std::string& name)
{
    return name == PARENT || name == VLANS || name == EXIST ||
           std::find(std::begin(TOLD), std::end(TOLD), name) != std::end(TOLD);
}

void FindFaults(const Json& instance, std::vector<std::string>& faults)
{
    if (!instance.is_object())
    {
        faults.emplace_back("the instance is no object");
        return;
    }
    for (const auto& [name, value] : instance.items())
    {
        if (!IsKnown(name))
            faults.push_back(name + " is unknown");
    }
    if (!instance.contains(PARENT) || !instance.at(PARENT).is_string())
        faults.emplace_back("the instance has no \"parent\", or one that is no text");
    if (instance.contains(EXIST) && !instance.at(EXIST).is_boolean())
        faults.emplace_back("_exist is neither true nor false");
}

[[noreturn]] void Refuse(const std::vector<std::string>& faults)
{
    throw CommandError(EXIT_USAGE, "the instance cannot be taken:\n" + Joined(faults, "\n"));
}

// The parent as a file of desired state has it: the VLANs are read by the one reader that there is.
DesiredParent ReadParent(const std::string& name, const Json& vlans)
{
    const Json file = {{"parents", {{name, {{VLANS, vlans}}}}}};
    try
    {
        return ParseDesiredState(file.dump()).front();
    }
    catch (const CommandError& error)
    {
        Refuse({error.what()});
    }
}

Json VlanSchema()
{
    return {{"type", "object"},
            {"required", {"id", "name"}},
            {"additionalProperties", false},
            {"properties",
             {{"id",
               {{"type", "integer"},
                {"minimum", 0},
                {"maximum", RAV_MAX_VLAN_ID},
                {"description", "0 is the untagged VLAN, which needs a tagged one beside it."}}},
              {"name", {{"type", "string"}, {"minLength", 1}, {"maxLength", 32}}},
              {"type", {{"type", "integer"}, {"minimum", 0}, {"maximum", 2}}},
              {"settings",
               {{"type", "object"},
                {"additionalProperties", {{"type", {"string", "integer"}}}},
                {"description", "By keyword: a number, the text of a choice, or \"default\"."}}}}}};
}
} // namespace

DscInstance ParseDscInstance(const std::string& text)
{
    std::vector<std::string> faults;
    const Json json = ScanJson(text, faults);
    if (faults.empty())
        FindFaults(json, faults);
    if (!faults.empty())
        Refuse(faults);
    DscInstance instance;
    instance.exists = json.value(EXIST, true);
    instance.isState = json.contains(VLANS) || !instance.exists;
    const Json vlans = json.contains(VLANS) ? json.at(VLANS) : Json::array();
    instance.parent = ReadParent(json.at(PARENT).get<std::string>(), vlans);
    if (!instance.exists)
        instance.parent.vlans.clear();
    return instance;
}

Json DscInstanceToJson(const std::string& parent, const Json& vlans)
{
    return {{PARENT, parent}, {EXIST, !vlans.empty()}, {VLANS, vlans}};
}

Json DscSchema()
{
    return {{"$schema", "http://json-schema.org/draft-07/schema#"},
            {"title", "The VLANs of an adapter or team"},
            {"type", "object"},
            {"required", {PARENT}},
            {"additionalProperties", false},
            {"properties",
             {{PARENT, {{"type", "string"}, {"description", "The adapter or team: its name, instance number or key."}}},
              {VLANS,
               {{"type", "array"},
                {"items", VlanSchema()},
                {"description", "All VLANs that it has: one that is not named is removed."}}},
              {EXIST, {{"type", "boolean"}, {"default", true}, {"description", "Whether it has VLANs."}}},
              {TOLD[0], {{"type", {"boolean", "null"}}, {"readOnly", true}}},
              {TOLD[1], {{"type", {"boolean", "null"}}, {"readOnly", true}}}}}};
}
