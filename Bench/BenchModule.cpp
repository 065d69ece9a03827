// The module as a file: its size, and the time until it is ready in a process that has not seen it yet.

#include "Bench/BenchHost.h"
#include "Bench/BenchTable.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Suite/Lab/LabTool/LabCommands.h"

#include <netcfgx.h>
#include <wrl/client.h>

#include <cstdio>
#include <process.h>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t FRESH_PROCESS[] = L"--fresh";
constexpr int FAILED_RUN = -1;
constexpr int ROUNDS = 7;

using FACTORY = void* (*)();

void* CallFactory(HMODULE module, const char* name)
{
    const auto factory = reinterpret_cast<FACTORY>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    return factory != nullptr ? factory() : nullptr;
}

bool LoadAgent(const CRavString& folder)
{
    const HMODULE module = LoadLibraryW(folder + L"\\VlanAgent.dll");
    const bool done = CallFactory(module, "GetVlanAgent") != nullptr;
    FreeLibrary(module);
    return done;
}

// What being ready takes at least: the image mapped, the network configuration open, the core agent there.
bool LoadBare(const CRavString& folder)
{
    ComPtr<INetCfg> netCfg;
    const HMODULE module = LoadLibraryExW(folder + L"\\VlanAgent.dll", nullptr, DONT_RESOLVE_DLL_REFERENCES);
    const HMODULE core = LoadLibraryExW(folder + L"\\CoreAgent.dll", nullptr, 0);
    const bool done =
        module != nullptr && CallFactory(core, RAV_GET_CORE_AGENT_PVT_NAME) != nullptr &&
        SUCCEEDED(CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&netCfg))) &&
        SUCCEEDED(netCfg->Initialize(nullptr));
    FreeLibrary(core);
    FreeLibrary(module);
    return done;
}

// Nanoseconds that a fresh process reports.
double InFreshProcess(const wchar_t* what)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const intptr_t tenths = _wspawnl(_P_WAIT, program, L"bench", FRESH_PROCESS, what, nullptr);
    return tenths < 0 || tenths == static_cast<DWORD>(FAILED_RUN) ? 0 : static_cast<double>(tenths) * 100;
}
} // namespace

int RunFresh(const char* what)
{
    const CBenchHost host(0);
    bool done = false;
    const bool bare = std::string(what) == "bare";
    const double time = BestTime([&] { done = (bare ? LoadBare : LoadAgent)(ProgramFolder()); }, 1, 1);
    return done ? static_cast<int>(time / 100) : FAILED_RUN;
}

void BenchModule()
{
    BenchHeading("VlanAgent.dll, in a fresh process");
    BenchPair best{1e18, 1e18};
    for (int round = 0; round < ROUNDS; ++round)
    {
        best.ours = std::min(best.ours, InFreshProcess(L"agent"));
        best.floor = std::min(best.floor, InFreshProcess(L"bare"));
    }
    BenchRow("LoadLibrary, GetVlanAgent, FreeLibrary", best);
    WIN32_FILE_ATTRIBUTE_DATA file = {};
    GetFileAttributesExW(ProgramFolder() + L"\\VlanAgent.dll", GetFileExInfoStandard, &file);
    BenchText("Size on disk: " + std::to_string(file.nFileSizeLow) + " bytes");
}
