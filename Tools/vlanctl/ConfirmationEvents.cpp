#include "Tools/vlanctl/Confirmation.h"

#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Session.h"

#include <sddl.h>

namespace
{
// The system and administrators, who may change VLANs as well; nobody else decides what becomes of a change.
constexpr wchar_t MAY_DECIDE[] = L"D:P(A;;GA;;;SY)(A;;GA;;;BA)";

class CSecurityDescriptor
{
  public:
    CSecurityDescriptor()
    {
        if (ConvertStringSecurityDescriptorToSecurityDescriptorW(MAY_DECIDE, SDDL_REVISION_1, &m_descriptor, nullptr) ==
            FALSE)
            throw CommandError(EXIT_REFUSED, "nothing was changed: nobody can be named who may confirm it: " +
                                                 WindowsText(GetLastError()));
    }
    ~CSecurityDescriptor() { LocalFree(m_descriptor); }
    CSecurityDescriptor(const CSecurityDescriptor&) = delete;
    CSecurityDescriptor& operator=(const CSecurityDescriptor&) = delete;
    PSECURITY_DESCRIPTOR Get() const { return m_descriptor; }

  private:
    PSECURITY_DESCRIPTOR m_descriptor = nullptr;
};

template <typename Open>
ConfirmationEvents Events(Open&& open)
{
    return {open(L"Global\\RavVlanConfirmation.ready"), open(L"Global\\RavVlanConfirmation.applied"),
            open(L"Global\\RavVlanConfirmation.dismissed"), open(L"Global\\RavVlanConfirmation.confirmed"),
            open(L"Global\\RavVlanConfirmation.refused")};
}
} // namespace

ConfirmationEvents CreateConfirmationEvents()
{
    CSecurityDescriptor mayDecide;
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), mayDecide.Get(), FALSE};
    return Events([&](const wchar_t* name) {
        CFileHandle event(CreateEventW(&attributes, TRUE, FALSE, name));
        if (!event || ResetEvent(event.Get()) == FALSE) // an earlier change's process may still be about to end
            throw CommandError(EXIT_REFUSED, "nothing was changed: no event can be made for its confirmation: " +
                                                 WindowsText(GetLastError()));
        return event;
    });
}

ConfirmationEvents OpenConfirmationEvents()
{
    return Events(
        [](const wchar_t* name) { return CFileHandle(OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, name)); });
}

void Signal(const CFileHandle& event)
{
    if (SetEvent(event.Get()) == FALSE)
        throw CommandError(EXIT_REFUSED,
                           "the process that watches over the change cannot be told: " + WindowsText(GetLastError()));
}
