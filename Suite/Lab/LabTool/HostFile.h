#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// A host as its file describes it. Everything in here has been checked.

struct LabSetting
{
    std::string name;
    std::string type; // "enum" or "int"
    std::string description;
    int defaultValue = 0;
    int exposeLevel = 0;
    int base = 10;
    int min = 0;
    int max = 0;
    int step = 0;
    int scale = 1;
    std::vector<std::pair<int, std::string>> choices;
};

struct LabAdapter
{
    std::string name;
    std::string mac;     // twelve hexadecimal digits
    std::string address; // IPv4, by DHCP or without; empty: none
    bool corvo = true;
    bool vlansOnPort = true;
    bool virtualDevice = false;
    bool driverLoaded = true;
    bool driverSupportsVlans = true;
    bool standardKeywords = true;
    bool hyperV = false;
    bool dhcp = true;
    bool rebootNeeded = false;                     // changes of the device wait for a restart of the system
    std::optional<bool> vmq;                       // nothing: the device has no such queues
    std::vector<int> jumboFrames;                  // choices in bytes; none: no jumbo frames
    std::map<std::string, std::string> parameters; // text values of the driver key
};

struct LabTeam
{
    std::string name;
    std::vector<std::string> members;
    int mode = 1;
    bool supportsVlans = true;
};

struct LabVlan
{
    std::string parent;
    int id = 0;
    std::string name;
};

struct LabHost
{
    std::string edition = "server"; // or "workstation"
    std::vector<LabAdapter> adapters;
    std::vector<LabTeam> teams;
    std::vector<LabVlan> vlans;
    std::vector<LabSetting> templates;
};

// What is wrong with a host file, beginning with the place: "adapters[2].mac: ...".
class HostFileError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

// Both throw HostFileError. A host may also be parsed from its text: tests have theirs beside them.
LabHost ReadHostFile(const std::wstring& path);
LabHost ParseHost(const std::string& text);
