#include "Tools/vlanctl/RegistryWatch.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/SuiteNames.h"
#include "Common/Src/XmsNames.h"
#include "Tools/vlanctl/Session.h"

namespace
{
const wchar_t* const KEYS[] = {CLASS_KEY, NETWORK_KEY, XMS_PARAMETERS_KEY, TCPIP_INTERFACES_KEY, SUITE_KEY};
constexpr DWORD QUIET = 200;     // milliseconds without a change: what belongs together has come
constexpr int MOST_CHANGES = 50; // that are waited for before the first is told
} // namespace

CRegistryWatch::CRegistryWatch()
{
    for (const wchar_t* const name : KEYS)
    {
        Watched watched;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, name, 0, KEY_NOTIFY, watched.key.Receive()) != ERROR_SUCCESS)
            continue; // the driver's may not be there yet: what makes it changes others, too
        watched.event = CFileHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        Begin(watched);
        m_watched.push_back(std::move(watched));
    }
    if (m_watched.empty())
        throw CommandError(EXIT_REFUSED, "the registry cannot be watched");
}

// A notification comes once; to be told again one has to ask again.
void CRegistryWatch::Begin(const Watched& watched)
{
    RegNotifyChangeKeyValue(watched.key.Get(), TRUE,
                            REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_ATTRIBUTES,
                            watched.event.Get(), TRUE);
}

size_t CRegistryWatch::WaitForOne(HANDLE stop, DWORD milliseconds) const
{
    std::vector<HANDLE> events;
    for (const Watched& watched : m_watched)
        events.push_back(watched.event.Get());
    events.push_back(stop);
    return WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, milliseconds) -
           WAIT_OBJECT_0;
}

bool CRegistryWatch::Wait(HANDLE stop)
{
    size_t place = WaitForOne(stop, INFINITE);
    for (int changes = 0; place < m_watched.size() && changes < MOST_CHANGES; ++changes)
    {
        Begin(m_watched[place]);
        place = WaitForOne(stop, QUIET);
    }
    return place != m_watched.size();
}
