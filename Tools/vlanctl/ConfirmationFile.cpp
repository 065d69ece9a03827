#include "Tools/vlanctl/ConfirmationFile.h"

#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"
#include "Tools/vlanctl/TextFile.h"

#include <algorithm>
#include <array>

using Json = nlohmann::ordered_json;

namespace
{
constexpr wchar_t RECORD_FILE[] = L"\\VlanConfirmation.json";
constexpr wchar_t WATCH_FILE[] = L"\\VlanConfirmation.watch";
constexpr const char* STATES[] = {"applying", "waiting", "confirmed", "dismissed", "takenBack", "failed"};

Json ToJson(const RAV_WANTED_VLAN& vlan)
{
    Json settings = Json::object();
    for (const RAV_WANTED_SETTING& setting : vlan.settings)
        settings[ToUtf8(setting.keyword)] = ToUtf8(setting.value);
    return {{"key", ToUtf8(vlan.key)},
            {"id", vlan.id},
            {"name", ToUtf8(vlan.name)},
            {"type", vlan.type.value_or(0)},
            {"settings", settings}};
}

RAV_WANTED_VLAN VlanFromJson(const Json& json)
{
    RAV_WANTED_VLAN vlan;
    vlan.key = FromUtf8(json.at("key").get<std::string>());
    vlan.id = json.at("id").get<DWORD>();
    vlan.name = FromUtf8(json.at("name").get<std::string>());
    vlan.type = json.at("type").get<DWORD>();
    for (const auto& [keyword, value] : json.at("settings").items())
        vlan.settings.push_back({FromUtf8(keyword), FromUtf8(value.get<std::string>())});
    return vlan;
}

Json ToJson(const std::vector<RAV_WANTED_VLAN>& vlans)
{
    Json array = Json::array();
    for (const RAV_WANTED_VLAN& vlan : vlans)
        array.push_back(ToJson(vlan));
    return array;
}

std::vector<RAV_WANTED_VLAN> VlansFromJson(const Json& array)
{
    std::vector<RAV_WANTED_VLAN> vlans;
    for (const Json& vlan : array)
        vlans.push_back(VlanFromJson(vlan));
    return vlans;
}

Json ToJson(const RAV_BEFORE& before)
{
    Json json = {{"key", ToUtf8(before.parent.key)},
                 {"name", ToUtf8(before.name)},
                 {"vlans", ToJson(before.parent.vlans)},
                 {"created", ToJson(before.created)}};
    if (before.known)
    {
        json["known"] = Json::array();
        for (const CRavString& key : *before.known)
            json["known"].push_back(ToUtf8(key));
    }
    return json;
}

RAV_BEFORE BeforeFromJson(const Json& json)
{
    RAV_BEFORE before;
    before.parent.key = FromUtf8(json.at("key").get<std::string>());
    before.name = FromUtf8(json.at("name").get<std::string>());
    before.parent.vlans = VlansFromJson(json.at("vlans"));
    before.created = VlansFromJson(json.at("created"));
    if (!json.contains("known"))
        return before;
    before.known.emplace();
    for (const Json& key : json.at("known"))
        before.known->push_back(FromUtf8(key.get<std::string>()));
    return before;
}

Json ToJson(const ConfirmationRecord& record)
{
    Json parents = Json::array();
    for (const RAV_BEFORE& before : record.before)
        parents.push_back(ToJson(before));
    return {{"who", record.who},           {"since", record.since},
            {"deadline", record.deadline}, {"state", STATES[static_cast<size_t>(record.state)]},
            {"outcome", record.outcome},   {"parents", parents}};
}

ConfirmationState StateFromJson(const Json& json)
{
    const auto* const state = std::find(std::begin(STATES), std::end(STATES), json.get<std::string>());
    if (state == std::end(STATES))
        throw Json::other_error::create(0, "no such state", &json);
    return static_cast<ConfirmationState>(state - std::begin(STATES));
}

ConfirmationRecord RecordFromJson(const Json& json)
{
    ConfirmationRecord record;
    record.who = json.at("who").get<std::string>();
    record.since = json.at("since").get<std::string>();
    record.deadline = json.at("deadline").get<std::string>();
    record.outcome = json.at("outcome").get<std::string>();
    record.state = StateFromJson(json.at("state"));
    for (const Json& parent : json.at("parents"))
        record.before.push_back(BeforeFromJson(parent));
    return record;
}

[[noreturn]] void Fail(const std::string& what, const std::string& why)
{
    throw CommandError(EXIT_REFUSED, "the record of a change, " + ToUtf8(SuiteFolder() + RECORD_FILE) + ", cannot be " +
                                         what + ": " + why);
}

std::string ReadText(HANDLE file)
{
    std::string text;
    std::array<char, 4096> part = {};
    DWORD size = 0;
    while (ReadFile(file, part.data(), part.size(), &size, nullptr) != FALSE)
    {
        if (size == 0)
            return text;
        text.append(part.data(), size);
    }
    Fail("read", WindowsText(GetLastError()));
}
} // namespace

bool IsPending(const ConfirmationRecord& record)
{
    return record.state == ConfirmationState::Applying || record.state == ConfirmationState::Waiting ||
           record.state == ConfirmationState::Failed;
}

std::optional<ConfirmationRecord> ReadConfirmation()
{
    const CFileHandle file(CreateFileW(SuiteFolder() + RECORD_FILE, GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file && GetLastError() == ERROR_FILE_NOT_FOUND)
        return std::nullopt;
    if (!file)
        Fail("read", WindowsText(GetLastError()));
    try
    {
        return RecordFromJson(Json::parse(ReadText(file.Get())));
    }
    catch (const Json::exception&)
    {
        Fail("understood", "it is damaged; 'vlanctl confirm --discard' gives it up, and with it the old state");
    }
}

void WriteConfirmation(const ConfirmationRecord& record)
{
    if (!ReplaceFileText(SuiteFolder() + RECORD_FILE, ToJson(record).dump(2)))
        Fail("written", WindowsText(GetLastError()));
}

CFileHandle TakeWatch()
{
    return CFileHandle(CreateFileW(SuiteFolder() + WATCH_FILE, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                   FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

bool IsWatched()
{
    const CFileHandle file(CreateFileW(SuiteFolder() + WATCH_FILE, GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    return !file && GetLastError() == ERROR_SHARING_VIOLATION;
}
