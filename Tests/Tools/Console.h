#pragma once

#include <windows.h>

#include <string>
#include <vector>

// A console of the test's own, on which it types and where the programs that it starts read and are interrupted. There
// is no terminal to look at: what they print there goes nowhere.
class CConsole
{
  public:
    CConsole()
    {
        CreatePipe(&m_read, &m_type, nullptr, 0);
        CreatePipe(&m_shown, &m_show, nullptr, 0);
        const auto create = Function<HRESULT(WINAPI*)(COORD, HANDLE, HANDLE, DWORD, void**)>("CreatePseudoConsole");
        if (FAILED(create({80, 25}, m_read, m_show, 0, &m_console)))
            return;
        // A console cannot be joined but through a program that is there already, and reads a line to its end.
        const PROCESS_INFORMATION program = Start(L"cmd /c set /p line= <CON >NUL");
        FreeConsole();
        while (!AttachConsole(program.dwProcessId) && WaitForSingleObject(program.hProcess, 1) == WAIT_TIMEOUT)
            continue;
        Type("\r");
        WaitForSingleObject(program.hProcess, INFINITE);
        SetConsoleCtrlHandler(Ignore, TRUE);
        SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
        m_in = CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                           OPEN_EXISTING, 0, nullptr);
    }
    ~CConsole()
    {
        CloseHandle(m_in);
        SetConsoleCtrlHandler(Ignore, FALSE);
        FreeConsole();
        Function<void(WINAPI*)(void*)>("ClosePseudoConsole")(m_console);
        for (const HANDLE pipe : {m_read, m_type, m_show, m_shown})
            CloseHandle(pipe);
    }
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    HANDLE In() const { return m_in; } // INVALID_HANDLE_VALUE when there is no console
    void Type(const char* text) const
    {
        DWORD written = 0;
        WriteFile(m_type, text, static_cast<DWORD>(lstrlenA(text)), &written, nullptr);
    }

  private:
    template <typename Pointer>
    static Pointer Function(const char* name) // the headers of some compilers do not have them
    {
        return reinterpret_cast<Pointer>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), name)));
    }
    static BOOL WINAPI Ignore(DWORD) { return TRUE; }
    PROCESS_INFORMATION Start(std::wstring line) const
    {
        constexpr DWORD_PTR ON_PSEUDO_CONSOLE = 0x20016;
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        std::vector<BYTE> attributes(size);
        STARTUPINFOEXW startup = {};
        startup.StartupInfo.cb = sizeof(startup);
        startup.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(attributes.data());
        InitializeProcThreadAttributeList(startup.lpAttributeList, 1, 0, &size);
        UpdateProcThreadAttribute(startup.lpAttributeList, 0, ON_PSEUDO_CONSOLE, m_console, sizeof(m_console), nullptr,
                                  nullptr);
        PROCESS_INFORMATION program = {};
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
                       &startup.StartupInfo, &program);
        return program;
    }

    HANDLE m_read = nullptr;
    HANDLE m_type = nullptr;
    HANDLE m_show = nullptr;
    HANDLE m_shown = nullptr;
    void* m_console = nullptr;
    HANDLE m_in = INVALID_HANDLE_VALUE;
};
