#pragma once

#include "Tools/vlanctl/Picture.h"

#include <string>
#include <vector>

// A setting of a VLAN that is not at its default.
struct ChangedSetting
{
    std::string vlan;
    std::string setting;
    std::string value;
    std::string defaultValue;
};

// What a page about a machine tells.
struct HostPage
{
    std::string machine;
    std::string time;
    Picture picture;
    std::vector<ChangedSetting> settings;
};

// One self-contained HTML document: nothing of it comes from elsewhere, and no script is needed to read it. For light
// and dark screens, paper, and readers that do not look.
std::string HtmlOf(const HostPage& page);
