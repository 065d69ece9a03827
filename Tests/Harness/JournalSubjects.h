#pragma once
// What a call in the journal is about: of its arguments, Name is what its handle, if it opens one, is called later;
// Detail follows in the entry; and a call to which its subject does not apply is left out.

#include "Tests/Harness/RegistryText.h"

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <string>
#include <type_traits>
#include <utility>

#include <windows.h>
#include <setupapi.h>
#include <cfgmgr32.h>
#include <winsvc.h>

namespace RavJournal
{

enum class KIND
{
    Handle,
    TlsIndex
};
using OPENED = std::pair<KIND, std::uintptr_t>;

// By the journal that there is: the name under which something was opened, and whether it saw it opened.
std::string NameOf(OPENED opened);
bool IsKnown(OPENED opened);

inline std::string Hexadecimal(unsigned long number)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%lx", number);
    return text;
}

inline std::string Text(const wchar_t* text)
{
    return text ? Utf8(text) : std::string();
}

template <class T>
OPENED Id(T handle)
{
    if constexpr (std::is_pointer_v<T>)
        return {KIND::Handle, reinterpret_cast<std::uintptr_t>(handle)};
    else
        return {KIND::TlsIndex, static_cast<std::uintptr_t>(handle)};
}

inline std::string KeyPath(HKEY key)
{
    static const std::pair<HKEY, const char*> roots[] = {{HKEY_LOCAL_MACHINE, ""},
                                                         {HKEY_CLASSES_ROOT, "HKCR"},
                                                         {HKEY_CURRENT_USER, "HKCU"},
                                                         {HKEY_USERS, "HKU"},
                                                         {HKEY_CURRENT_CONFIG, "HKCC"}};
    for (const auto& [root, name] : roots)
        if (key == root)
            return name;
    return NameOf(Id(key));
}

inline std::string ValueName(const wchar_t* name)
{
    return name && *name ? Utf8(name) : "(default)";
}

struct Anything
{
    template <class... A>
    static bool Applies(const A&...)
    {
        return true;
    }
    template <class... A>
    static std::string Name(const A&...)
    {
        return {};
    }
    template <class... A>
    static std::string Detail(const A&...)
    {
        return {};
    }
};

struct Key : Anything
{
    template <class... A>
    static std::string Name(HKEY key, const A&...)
    {
        return KeyPath(key);
    }
};

struct Value : Key
{
    template <class... A>
    static std::string Detail(HKEY, const wchar_t* name, const A&...)
    {
        return ValueName(name);
    }
};

struct Entry : Key
{
    template <class... A>
    static std::string Detail(HKEY, DWORD index, const A&...)
    {
        return '#' + std::to_string(index);
    }
};

struct SubKey : Anything
{
    template <class... A>
    static std::string Name(HKEY key, const wchar_t* name, const A&...)
    {
        const std::string parent = KeyPath(key);
        return parent + (parent.empty() || !name || !*name ? "" : "\\") + Text(name);
    }
    static std::string Detail(HKEY, const wchar_t*, DWORD, REGSAM access, PHKEY) { return Hexadecimal(access); }
    static std::string Detail(HKEY, const wchar_t*, DWORD, wchar_t*, DWORD options, REGSAM access, SECURITY_ATTRIBUTES*,
                              PHKEY, DWORD*)
    {
        return Hexadecimal(access) + (options & REG_OPTION_VOLATILE ? " volatile" : "");
    }
    template <class... A>
    static std::string Detail(HKEY, const A&...)
    {
        return {};
    }
};

struct ValueBelow : SubKey
{
    template <class... A>
    static std::string Detail(HKEY, const wchar_t*, const wchar_t* name, const A&...)
    {
        return ValueName(name);
    }
};

struct Named : Anything
{
    template <class... A>
    static std::string Name(const wchar_t* name, const A&...)
    {
        return Text(name);
    }
    template <class... A>
    static std::string Name(SC_HANDLE, const wchar_t* name, const A&...)
    {
        return Text(name);
    }
    template <class... A>
    static std::string Name(DEVINST*, const wchar_t* name, const A&...)
    {
        return Text(name);
    }
};

struct Device : Named
{
    template <class... A>
    static bool Applies(const wchar_t* name, const A&...)
    {
        return name && (std::wcsncmp(name, L"\\\\.\\", 4) == 0 || std::wcsncmp(name, L"\\\\?\\", 4) == 0);
    }
};

struct Opened : Anything
{
    template <class... A>
    static bool Applies(HANDLE handle, const A&...)
    {
        return IsKnown(Id(handle));
    }
    template <class T, class... A>
    static std::string Name(T handle, const A&...)
    {
        return NameOf(Id(handle));
    }
    template <class... A>
    static std::string Detail(HANDLE, DWORD code, const A&...)
    {
        return Hexadecimal(code);
    }
    static std::string Detail(HANDLE) { return {}; }
};

struct OpenedAny : Anything
{
    template <class T, class... A>
    static std::string Name(T handle, const A&...)
    {
        return NameOf(Id(handle));
    }
};

struct Coded : Anything
{
    template <class... A>
    static std::string Detail(DWORD code, const A&...)
    {
        return Hexadecimal(code);
    }
};

struct Parameters : Anything
{
    static std::string Detail(HDEVINFO, PSP_DEVINFO_DATA, PSP_CLASSINSTALL_HEADER header, DWORD)
    {
        return header ? Hexadecimal(header->InstallFunction) : std::string();
    }
};

struct ComClass : Anything
{
    template <class... A>
    static std::string Detail(const GUID& id, const A&...)
    {
        char text[40];
        std::snprintf(text, sizeof(text), "{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id.Data1, id.Data2,
                      id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5],
                      id.Data4[6], id.Data4[7]);
        return text;
    }
};

} // namespace RavJournal
