#pragma once

class CRavVlanAgentIntf;
class CRavVlanAgentPvtIntf;

// The module's factory functions. Both hand out faces of the one agent, after they have initialised it; null when that
// failed with code 0xFFFFFFFF. Any thread; they do not throw.
extern "C" CRavVlanAgentIntf* GetVlanAgent();
extern "C" CRavVlanAgentPvtIntf* GetVlanAgentPvt();
