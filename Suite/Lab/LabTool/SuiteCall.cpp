#include "Suite/Lab/LabTool/SuiteCall.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Src/ComApartment.h"
#include "Common/Src/ModuleHandle.h"
#include "Common/Src/SuiteNames.h"
#include "Src/RavVlanAgentIntf.h"
#include "Suite/Lab/LabTool/LabCommands.h"

#include <memory>
#include <utility>

namespace
{
constexpr DWORD LOCK_WAIT_MILLISECONDS = 15000;

CRavModuleHandle Load(const wchar_t* file)
{
    CRavModuleHandle module(LoadLibraryExW(ProgramFolder() + L"\\" + file, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!module)
        throw LabError(ToUtf8(file) + " cannot be loaded");
    return module;
}

// The suite's modules, and this program as their client.
class CSuite
{
  public:
    CSuite() : m_core(Load(CORE_AGENT_FILE)), m_agent(Load(VLAN_AGENT_FILE))
    {
        const auto getCore = m_core.Export<RAV_GET_CORE_AGENT_PVT>(RAV_GET_CORE_AGENT_PVT_NAME);
        const auto registerClient = m_core.Export<RAV_REGISTER_CLIENT>(RAV_REGISTER_CLIENT_NAME);
        const auto getAgent = m_agent.Export<RAV_GET_VLAN_AGENT>(RAV_GET_VLAN_AGENT_NAME);
        if (getCore == nullptr || registerClient == nullptr || getAgent == nullptr || getAgent() == nullptr ||
            registerClient(&m_client) != ERROR_SUCCESS)
            throw LabError("the suite's agents do not answer");
        m_pCore = getCore();
    }
    CRavCoreAgentPvtIntf& Core() const { return *m_pCore; }
    RAV_LOCK_RECORD Lock() const { return {m_client, LOCK_WAIT_MILLISECONDS}; }

  private:
    CRavComApartment m_apartment; // left last
    CRavModuleHandle m_core;
    CRavModuleHandle m_agent;
    CRavCoreAgentPvtIntf* m_pCore = nullptr;
    RAV_CLIENT_ID m_client;
};

// The configuration lock for a scope.
class CLock
{
  public:
    explicit CLock(const CSuite& suite) : m_core(suite.Core())
    {
        if (!m_core.StartLock(suite.Lock(), m_token).Succeeded())
            throw LabError("the configuration lock cannot be had");
    }
    ~CLock() { Finish(); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;
    // Gives it back, which applies what was changed under it.
    CResult Finish()
    {
        const RAV_LOCK_TOKEN token = std::exchange(m_token, {});
        return token.dwToken != 0 ? m_core.DoneLock(token) : CResult::Success();
    }

  private:
    CRavCoreAgentPvtIntf& m_core;
    RAV_LOCK_TOKEN m_token;
};

// The sizes that a setting lists.
std::string Sizes(const RAV_SETTING& setting)
{
    std::string sizes;
    if (setting.GetType() != RAV_SETTING_TYPE_ENUM)
        return sizes;
    for (const int32_t value : static_cast<const RAV_SETTING_ENUM&>(setting).values)
        sizes += (sizes.empty() ? "" : ", ") + std::to_string(value);
    return sizes;
}
} // namespace

void SetJumboSize(const CRavString& adapter, int size)
{
    const CSuite suite;
    RAV_SETTING* raw = nullptr;
    const CResult read = suite.Core().GetJumboFramesSettingForAdapter(adapter, &raw);
    const std::unique_ptr<RAV_SETTING> setting(raw);
    const RAV_SETTING_VAL_INT value(size);
    if (!read.Succeeded() || !setting)
        throw LabError("this adapter has no jumbo frames");
    if (!setting->IsValueValid(&value))
        throw LabError("this adapter's sizes are " + Sizes(*setting));
    CLock lock(suite);
    const CResult set = suite.Core().SetSetting(adapter, setting->strName, &value);
    if (!lock.Finish().Succeeded() || !set.Succeeded())
        throw LabError("the size was set, but not everything above the adapter follows");
}
