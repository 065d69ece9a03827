#pragma once

// What the module needs to know of the operating system it runs on. The answers are the system's true version, not the
// one that the program's manifest asks for. Any thread may ask; nothing throws, and what cannot be found out is
// answered by false.
class COSType
{
  public:
    COSType() = delete;

    // Windows NT of the version or later.
    static bool IsNt5OrLater();
    static bool IsNt6OrLater();
    // A workstation edition, as opposed to a server or a domain controller.
    static bool IsWorkstation();
    // The processor, whatever this program was built for.
    static bool IsIa64();
    // Windows 10 or later, with the intermediate driver blocked there: the REG_DWORD "XMSBlock" is 1 in the suite's
    // key.
    static bool IsWin10WithXMSBlock();
};
