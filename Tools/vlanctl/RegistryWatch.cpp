#include "Tools/vlanctl/RegistryWatch.h"

#include "Common/Src/NetworkNames.h"
#include "Common/Src/SuiteNames.h"
#include "Common/Src/XmsNames.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"

#include <algorithm>

namespace
{
const wchar_t* const KEYS[] = {CLASS_KEY, NETWORK_KEY, XMS_PARAMETERS_KEY, TCPIP_INTERFACES_KEY, SUITE_KEY};
constexpr DWORD QUIET = 200;     // milliseconds without a change: what belongs together has come
constexpr int MOST_CHANGES = 50; // that are waited for before the first is told

[[noreturn]] void Fail(DWORD error)
{
    throw CommandError(EXIT_REFUSED, "the registry cannot be watched: " + WindowsText(error));
}
} // namespace

CRegistryWatch::CRegistryWatch()
{
    for (const wchar_t* const name : KEYS)
    {
        Watched& watched = m_watched.emplace_back();
        watched.name = name;
        watched.event = CFileHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        Begin(watched);
    }
    if (std::none_of(m_watched.begin(), m_watched.end(), [](const Watched& watched) { return watched.isAsked; }))
        Fail(ERROR_FILE_NOT_FOUND);
}

// A notification comes once; to be told again one has to ask again. A key that has gone, or is not there yet, as the
// driver's may be, is looked for again at the next change: what makes it changes others, too.
void CRegistryWatch::Begin(Watched& watched)
{
    const auto ask = [&] {
        return RegNotifyChangeKeyValue(
            watched.key.Get(), TRUE, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_ATTRIBUTES,
            watched.event.Get(), TRUE);
    };
    watched.isAsked = watched.isAsked && ask() == ERROR_SUCCESS;
    if (watched.isAsked || RavOpenKey(HKEY_LOCAL_MACHINE, watched.name, KEY_NOTIFY, watched.key) != ERROR_SUCCESS)
        return;
    if (const LSTATUS status = ask(); status != ERROR_SUCCESS)
        Fail(static_cast<DWORD>(status));
    watched.isAsked = true;
}

size_t CRegistryWatch::WaitForOne(HANDLE stop, DWORD milliseconds) const
{
    std::vector<HANDLE> events;
    for (const Watched& watched : m_watched)
        events.push_back(watched.event.Get());
    events.push_back(stop);
    const DWORD place =
        WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, milliseconds) - WAIT_OBJECT_0;
    if (place == WAIT_FAILED - WAIT_OBJECT_0)
        Fail(GetLastError());
    return place;
}

bool CRegistryWatch::Wait(HANDLE stop)
{
    size_t place = WaitForOne(stop, INFINITE);
    for (int changes = 0; place < m_watched.size() && changes < MOST_CHANGES; ++changes)
    {
        Begin(m_watched[place]);
        place = WaitForOne(stop, QUIET);
    }
    for (Watched& watched : m_watched)
    {
        if (!watched.isAsked)
            Begin(watched);
    }
    return place != m_watched.size();
}
