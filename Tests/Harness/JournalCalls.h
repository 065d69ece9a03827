#pragma once
// The calls that the journal knows: function, how it reports failure, what it is about.

#include "Tests/Harness/JournalSubjects.h"

#include <objbase.h>
#include <winioctl.h>

namespace RavJournal
{

// How a function reports failure. A function that answers Handle, File or Index opens what it returns; one that Never
// fails closes its first argument.
enum class STYLE
{
    Status,
    Config,
    Com,
    Bool,
    Handle,
    File,
    Index,
    Never
};

#define RAV_JOURNAL_CALLS(X)                                                                                           \
    X(RegOpenKeyExW, Status, SubKey)                                                                                   \
    X(RegOpenKeyW, Status, SubKey)                                                                                     \
    X(RegCreateKeyExW, Status, SubKey)                                                                                 \
    X(RegCreateKeyW, Status, SubKey)                                                                                   \
    X(RegQueryInfoKeyW, Status, Key)                                                                                   \
    X(RegQueryValueExW, Status, Value)                                                                                 \
    X(RegQueryMultipleValuesW, Status, Key)                                                                            \
    X(RegGetValueW, Status, ValueBelow)                                                                                \
    X(RegSetValueExW, Status, Value)                                                                                   \
    X(RegDeleteValueW, Status, Value)                                                                                  \
    X(RegEnumValueW, Status, Entry)                                                                                    \
    X(RegEnumKeyExW, Status, Entry)                                                                                    \
    X(RegDeleteKeyW, Status, SubKey)                                                                                   \
    X(RegDeleteKeyExW, Status, SubKey)                                                                                 \
    X(RegDeleteTreeW, Status, SubKey)                                                                                  \
    X(RegFlushKey, Status, Key)                                                                                        \
    X(RegCloseKey, Never, Key)                                                                                         \
    X(CreateFileW, File, Device)                                                                                       \
    X(DeviceIoControl, Bool, Opened)                                                                                   \
    X(CloseHandle, Never, Opened)                                                                                      \
    X(LoadLibraryW, Handle, Named)                                                                                     \
    X(LoadLibraryExW, Handle, Named)                                                                                   \
    X(FreeLibrary, Never, OpenedAny)                                                                                   \
    X(CoCreateInstance, Com, ComClass)                                                                                 \
    X(TlsAlloc, Index, Anything)                                                                                       \
    X(TlsSetValue, Bool, Anything)                                                                                     \
    X(TlsFree, Never, Anything)                                                                                        \
    X(OpenSCManagerW, Handle, Named)                                                                                   \
    X(OpenServiceW, Handle, Named)                                                                                     \
    X(StartServiceW, Bool, OpenedAny)                                                                                  \
    X(ControlService, Bool, OpenedAny)                                                                                 \
    X(QueryServiceStatus, Bool, OpenedAny)                                                                             \
    X(QueryServiceStatusEx, Bool, OpenedAny)                                                                           \
    X(CloseServiceHandle, Never, OpenedAny)                                                                            \
    X(SetupDiGetClassDevsW, File, Anything)                                                                            \
    X(SetupDiCreateDeviceInfoList, File, Anything)                                                                     \
    X(SetupDiCreateDeviceInfoW, Bool, Anything)                                                                        \
    X(SetupDiOpenDeviceInfoW, Bool, Anything)                                                                          \
    X(SetupDiEnumDeviceInfo, Bool, Anything)                                                                           \
    X(SetupDiGetDeviceInstanceIdW, Bool, Anything)                                                                     \
    X(SetupDiGetDeviceRegistryPropertyW, Bool, Anything)                                                               \
    X(SetupDiSetDeviceRegistryPropertyW, Bool, Anything)                                                               \
    X(SetupDiOpenDevRegKey, File, Anything)                                                                            \
    X(SetupDiSetClassInstallParamsW, Bool, Parameters)                                                                 \
    X(SetupDiCallClassInstaller, Bool, Coded)                                                                          \
    X(SetupDiChangeState, Bool, Anything)                                                                              \
    X(SetupDiRemoveDevice, Bool, Anything)                                                                             \
    X(SetupDiDestroyDeviceInfoList, Never, Anything)                                                                   \
    X(CM_Locate_DevNodeW, Config, Named)                                                                               \
    X(CM_Get_DevNode_Status, Config, Anything)                                                                         \
    X(CM_Get_DevNode_Registry_PropertyW, Config, Anything)                                                             \
    X(CM_Get_Device_IDW, Config, Anything)                                                                             \
    X(CM_Get_Parent, Config, Anything)                                                                                 \
    X(CM_Open_DevNode_Key, Config, Anything)                                                                           \
    X(CM_Enable_DevNode, Config, Anything)                                                                             \
    X(CM_Disable_DevNode, Config, Anything)                                                                            \
    X(CM_Reenumerate_DevNode, Config, Anything)

enum CALL_INDEX : size_t
{
#define RAV_JOURNAL_INDEX(function, style, subject) I_##function,
    RAV_JOURNAL_CALLS(RAV_JOURNAL_INDEX)
#undef RAV_JOURNAL_INDEX
    CALL_COUNT
};

} // namespace RavJournal
