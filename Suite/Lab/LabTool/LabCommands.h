#pragma once

#include "Common/Src/CommandLine.h"
#include "Common/Src/RavString.h"

#include <stdexcept>
#include <string>
#include <vector>

// What a command of the lab tells its user when it cannot do its work; nothing was changed then.
class LabError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

// The driver's service is in a state out of which only a new session of Wine brings it.
class DriverError : public LabError
{
  public:
    using LabError::LabError;
};

void Write(const std::string& text);

enum class OutputFormat
{
    Table,
    Json
};
void RunShow(OutputFormat format);
// Does what waits for a restart of the system.
void RunRestart();
// Breaks the host; see HostBreaker.h.
void RunBreak(const std::string& what, const std::string& name);
void RunSet(const std::string& name, const std::string& property, const std::string& value);

// What is done with a team: "create", "rename", "delete", "add", "remove", "mode". Not every one needs all of these.
struct TeamRequest
{
    std::string verb;
    std::string team;                 // its name, or the one that it is to have
    std::vector<std::string> members; // display names, instance numbers or keys
    std::string newName;
    unsigned mode = 1;
};
void RunTeam(const TeamRequest& request);

// The keys of an adapter and a team by display name, instance number or key. They throw LabError.
CRavString FindAdapter(const std::string& name);
CRavString FindTeam(const std::string& name);
void RequireLab();

// --- Platform.cpp: the parts of the lab that lie outside the host's registry ----------------------------------------

bool IsRealWindows();
CRavString ProgramFolder();
// Registers the COM server; the driver service is created and started. Throws LabError.
void StartPlatform(const std::string& edition);
// Undoes as much of that as can be undone, and says in words what could not. A driver that cannot be stopped is no
// failure, and only noted: it keeps nothing of the host, and serves the next one.
std::string StopPlatform();
