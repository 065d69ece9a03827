#pragma once
// VLANs created and removed through the agent, and what of a difference of the registry concerns them.

#include "Tests/Src/LabProgram.h"
#include "Tests/Src/Vlan/VlanObjectFixture.h"

#include <sstream>

// Of a change, only what concerns the VLAN format: the settings and what the platform itself keeps are left out. The
// VLANs are {V1}, {V2}, ...
inline std::string Format(const CRegistryChange& change, const std::vector<CRavString>& vlans)
{
    static const std::regex format(R"(. (XMS|TcpIp|Class\\\d{4}(  |$)).*)");
    static const std::regex platform(R"(.*  (ComponentId|Driver\w+|ProviderName|DeviceInstanceID|Characteristics|)"
                                     R"(NetCfgInstanceId|\*NumRssQueues)  .*)");
    std::string kept;
    for (const std::string& line : SplitLines(CLabHost::Readable(change.Text(), vlans)))
        kept += std::regex_match(line, format) && !std::regex_match(line, platform) ? line + "\n" : "";
    return kept;
}

// Creates VLANs over Port A, without validation, which would let neither an untagged VLAN come first nor a name come
// twice.
inline void Create(CLabHost& host, const char* ids)
{
    std::istringstream text(ids);
    for (DWORD id = 0; text >> id;)
    {
        CResult result;
        host.Agent().CreateSingleVlan(result, host.Key("Port A"), id, L"Büro", 0);
        EXPECT_EQ(0u, result.ulErrCode);
    }
}
