#include "Suite/Lab/NetCfg/VirtualMiniport.h"

#include "Suite/Lab/NetCfg/Bindings.h"

#include <netcfgx.h>
#include <devguid.h>

#include <algorithm>

namespace
{

constexpr wchar_t description[] = L"Corvo XMS Virtual Miniport";
constexpr wchar_t provider[] = L"Corvo";
constexpr wchar_t serviceName[] = L"oXMSProtocol";
constexpr int lastInstance = 9999;

// Protocols that are bound to an adapter only where somebody asks for it.
constexpr const wchar_t* boundOnRequest[] = {intermediateProtocolId, L"vms_pp"};

/// Everything that belongs to one miniport.
struct MINIPORT_PLACES
{
    std::wstring strInstance; // the four-digit key name
    std::wstring strDeviceId;
    std::wstring strGuid;

    std::wstring ClassKey() const { return std::wstring(CLASS_KEY) + L'\\' + strInstance; }
    std::wstring DeviceKey() const { return std::wstring(ENUM_KEY) + L'\\' + strDeviceId; }
    std::wstring NetworkKey() const { return std::wstring(NETWORK_KEY) + L'\\' + NETWORK_CLASS_GUID + L'\\' + strGuid; }
    std::wstring StateKey() const { return std::wstring(LAB_DEVICES) + L'\\' + strGuid; }
};

std::wstring fourDigits(int number)
{
    wchar_t text[16] = {};
    _snwprintf(text, ARRAYSIZE(text) - 1, L"%04d", number);
    return text;
}

// Subkeys are sorted and at most one per number, so the names 0001 to k stand where they would without gaps exactly
// as long as none is missing: the first gap is found by halving.
int lowestFreeInstance(const CRegistryKey& classKey)
{
    const DWORD first = classKey.Subkey(0).value_or(std::wstring()) == L"0000" ? 1 : 0;
    int low = 1;
    int high = static_cast<int>(std::min<DWORD>(classKey.SubkeyCount() + 1, lastInstance + 1));
    while (low < high)
    {
        const int middle = (low + high) / 2;
        const std::optional<std::wstring> name = classKey.Subkey(first + middle - 1);
        if (name && *name == fourDigits(middle))
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

std::wstring freeDeviceId(int instance)
{
    for (int number = instance; number <= lastInstance; ++number)
    {
        std::wstring id = L"ROOT\\NET\\" + fourDigits(number);
        CRegistryKey key;
        if (key.Open(std::wstring(ENUM_KEY) + L'\\' + id) == ERROR_FILE_NOT_FOUND)
            return id;
    }
    return {};
}

/// The values of one key; the first failure is kept and the rest left out.
class CValueWriter
{
  public:
    explicit CValueWriter(const std::wstring& path) : m_iStatus(m_key.Create(path)) {}

    CValueWriter& Text(const wchar_t* name, const std::wstring& text)
    {
        return Write([&] { return m_key.SetText(name, text); });
    }

    CValueWriter& Number(const wchar_t* name, DWORD number)
    {
        return Write([&] { return m_key.SetNumber(name, number); });
    }

    CValueWriter& List(const wchar_t* name, const std::vector<std::wstring>& list)
    {
        return Write([&] { return m_key.SetList(name, list); });
    }

    LSTATUS Status() const { return m_iStatus; }

  private:
    template <typename F>
    CValueWriter& Write(F&& write)
    {
        if (m_iStatus == ERROR_SUCCESS)
            m_iStatus = write();
        return *this;
    }

    CRegistryKey m_key;
    LSTATUS m_iStatus;
};

LSTATUS writeInstanceKey(const MINIPORT_PLACES& places)
{
    return CValueWriter(places.ClassKey())
        .Text(L"ComponentId", virtualMiniportId)
        .Text(L"DriverDesc", description)
        .Text(L"ProviderName", provider)
        .Number(L"Characteristics", NCF_VIRTUAL | NCF_NOT_USER_REMOVABLE)
        .Text(L"DeviceInstanceID", places.strDeviceId)
        .Text(L"DriverVersion", L"1.0.0.0")
        .Text(L"NetCfgInstanceId", places.strGuid) // from here on it is a component
        .Status();
}

LSTATUS writeLinkage(const MINIPORT_PLACES& places)
{
    return CValueWriter(places.ClassKey() + L"\\Linkage")
        .List(L"RootDevice", {places.strGuid})
        .List(L"Export", {DeviceName(places.strGuid)})
        .Status();
}

LSTATUS writeDevice(const MINIPORT_PLACES& places)
{
    return CValueWriter(places.DeviceKey())
        .Text(L"ClassGUID", NETWORK_CLASS_GUID)
        .Text(L"Class", L"Net")
        .Text(L"Driver", std::wstring(NETWORK_CLASS_GUID) + L'\\' + places.strInstance)
        .Text(L"DeviceDesc", description)
        .Text(L"FriendlyName", description)
        .List(L"HardwareID", {virtualMiniportId})
        .Text(L"Service", serviceName)
        .Number(L"ConfigFlags", 0)
        .Status();
}

LSTATUS writeConnection(const MINIPORT_PLACES& places)
{
    // The instance number tells connections apart without reading the names of all others.
    const std::wstring number = places.strInstance.substr(places.strInstance.find_first_not_of(L'0'));
    return CValueWriter(places.NetworkKey() + L"\\Connection")
        .Text(L"Name", L"Local Area Connection " + number)
        .Text(L"PnpInstanceID", places.strDeviceId)
        .Status();
}

bool isOrdinary(const LAB_COMPONENT& protocol)
{
    const std::wstring id = ComponentId(protocol);
    return std::none_of(std::begin(boundOnRequest), std::end(boundOnRequest),
                        [&](const wchar_t* name) { return SameName(name, id); });
}

LSTATUS bindOrdinaryProtocols(const MINIPORT_PLACES& places)
{
    const GUID transports[] = {GUID_DEVCLASS_NETTRANS};
    for (const auto& [protocol, service] : ReadUpperComponents(transports))
    {
        // Without a linkage the protocol's service was never installed.
        if (!isOrdinary(protocol) || !ReadLinkage(service))
            continue;
        const LSTATUS status = ChangeBindings(service, {{DeviceName(places.strGuid), BindingState::Enabled}});
        if (status != ERROR_SUCCESS)
            return status;
    }
    return ERROR_SUCCESS;
}

LSTATUS removeBindings(const MINIPORT_PLACES& places)
{
    LSTATUS result = ERROR_SUCCESS;
    const std::wstring device = DeviceName(places.strGuid);
    for (const auto& [protocol, service] : ReadUpperComponents())
    {
        if (!ReadLinkage(service))
            continue;
        const LSTATUS status = ChangeBindings(service, {{device, BindingState::Absent}});
        if (result == ERROR_SUCCESS)
            result = status;
    }
    return result;
}

// Goes on after a failure, so that as little as possible stays; reports the first one.
LSTATUS removeAll(const MINIPORT_PLACES& places)
{
    const LSTATUS steps[] = {
        DeleteKeyTree(places.ClassKey()), // it is no component any more
        removeBindings(places),
        DeleteKeyAndEmptyParents(places.NetworkKey(), NETWORK_KEY),
        places.strDeviceId.empty() ? ERROR_SUCCESS : DeleteKeyAndEmptyParents(places.DeviceKey(), ENUM_KEY),
        DeleteKeyTree(places.StateKey()),
    };
    const auto failed = std::find_if(std::begin(steps), std::end(steps), [](LSTATUS s) { return s != ERROR_SUCCESS; });
    return failed == std::end(steps) ? ERROR_SUCCESS : *failed;
}

/// Notes a change while it goes on, so that another client can end it when this one dies.
class CUnfinishedChange
{
  public:
    explicit CUnfinishedChange(const MINIPORT_PLACES& places)
    {
        m_key.Create(LAB_KEY);
        std::vector<std::wstring> note = {places.strInstance, places.strGuid};
        if (!places.strDeviceId.empty())
            note.push_back(places.strDeviceId);
        m_key.SetList(LAB_UNFINISHED, note);
    }
    CUnfinishedChange(const CUnfinishedChange&) = delete;
    CUnfinishedChange& operator=(const CUnfinishedChange&) = delete;
    ~CUnfinishedChange() { m_key.DeleteValue(LAB_UNFINISHED); }

  private:
    CRegistryKey m_key;
};

} // namespace

bool IsVirtualMiniport(const GUID& classGuid, const std::wstring& id)
{
    return classGuid == GUID_DEVCLASS_NET && SameName(id, virtualMiniportId);
}

LSTATUS InstallVirtualMiniport(LAB_COMPONENT& installed)
{
    CRegistryKey classKey;
    if (const LSTATUS status = classKey.Open(CLASS_KEY); status != ERROR_SUCCESS)
        return status;
    const int instance = lowestFreeInstance(classKey);
    GUID guid{};
    if (instance > lastInstance || FAILED(CoCreateGuid(&guid)))
        return ERROR_NO_MORE_ITEMS;
    const MINIPORT_PLACES places{fourDigits(instance), freeDeviceId(instance), GuidText(guid)};
    if (places.strDeviceId.empty())
        return ERROR_NO_MORE_ITEMS;

    const CUnfinishedChange change(places);
    constexpr LSTATUS (*steps[])(const MINIPORT_PLACES&) = {writeLinkage, writeDevice, writeConnection,
                                                            bindOrdinaryProtocols, writeInstanceKey};
    for (const auto step : steps)
    {
        if (const LSTATUS status = step(places); status != ERROR_SUCCESS)
        {
            removeAll(places);
            return status;
        }
    }
    installed = {GUID_DEVCLASS_NET, guid, places.ClassKey()};
    return ERROR_SUCCESS;
}

LSTATUS RemoveVirtualMiniport(const LAB_COMPONENT& miniport)
{
    const std::wstring device = DeviceKeyPath(miniport);
    const std::wstring instance = miniport.strKeyPath.substr(miniport.strKeyPath.rfind(L'\\') + 1);
    const std::wstring deviceId = device.empty() ? device : device.substr(ARRAYSIZE(ENUM_KEY));
    const MINIPORT_PLACES places{instance, deviceId, miniport.GuidText()};
    const CUnfinishedChange change(places);
    return removeAll(places);
}

void FinishMiniportChange()
{
    CRegistryKey key;
    if (key.Open(LAB_KEY) != ERROR_SUCCESS)
        return;
    const std::vector<std::wstring> note = key.List(LAB_UNFINISHED).value_or(std::vector<std::wstring>());
    if (note.size() < 2)
        return;
    const MINIPORT_PLACES places{note[0], note.size() > 2 ? note[2] : L"", note[1]};
    const CUnfinishedChange change(places);
    removeAll(places);
}
