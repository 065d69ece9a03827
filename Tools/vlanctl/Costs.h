#pragma once

#include "Tools/vlanctl/Report.h"
#include "Tools/vlanctl/Session.h"

// What a change costs its host beside what was asked for, as warnings. They are read without a lock, before anything is
// done.

// Of the first VLAN of an adapter: its protocols and addresses, and what will become of its MAC. None over a team, and
// for an adapter that carries VLANs already.
std::vector<Note> CostsOfFirstVlan(CSession& session, const ParentRow& parent);
// Of the last VLAN of a parent: the protocols that come back, and a MAC that somebody has chosen.
std::vector<Note> CostsOfLastVlan(CSession& session, const CRavString& parentKey, const CRavString& parentName);
// Of the loss of an adapter's or VLAN's TCP/IP: connections to this machine that run over it.
std::vector<Note> CostsOfSilence(const CRavString& key, const std::string& name);
// Of a VLAN that is loaded, and is reloaded.
std::vector<Note> CostsOfInterruption(const CRavString& vlanKey, const std::string& name);
// Of a change of devices while a restart of the system is pending.
std::vector<Note> CostsOfPendingRestart();
bool IsAnyGrave(const std::vector<Note>& notes);
