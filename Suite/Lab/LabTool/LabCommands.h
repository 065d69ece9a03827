#pragma once

#include "Common/Src/CommandLine.h"
#include "Common/Src/RavString.h"

#include <stdexcept>
#include <string>

// What a command of the lab tells its user when it cannot do its work; nothing was changed then.
class LabError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

// The driver's service is in a state that nothing but a new session of Wine gets it out of.
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
void RunSet(const std::string& name, const std::string& property, const std::string& value);

// --- Platform.cpp: the parts of the lab that lie outside the host's registry ----------------------------------------

bool IsRealWindows();
CRavString ProgramFolder();
// Registers the COM server; the driver service is created and started. Throws LabError.
void StartPlatform(const std::string& edition);
// Undoes as much of that as can be undone; what could not, in words. A driver that cannot be stopped is none of it: it
// keeps nothing of the host, and serves the next one.
std::string StopPlatform();
