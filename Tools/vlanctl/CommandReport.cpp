// The page about the machine's VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/HostPage.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Settings.h"
#include "Tools/vlanctl/TextFile.h"
#include "Tools/vlanctl/TimeText.h"

namespace
{
// Those of a damaged VLAN may be unreadable: the page tells so, and the rest.
void AddChangedSettingsOf(CSession& session, const PictureNode& vlan, std::vector<ChangedSetting>& changed)
try
{
    for (const auto& setting : ReadSettings(session, FromUtf8(vlan.key)))
    {
        const int32_t value = RavCurrentOf(*setting);
        const int32_t other = RavDefaultOf(*setting);
        if (value != other)
            changed.push_back({TextOf(vlan), ToUtf8(setting->strName), ShownValue(value, ValueText(*setting, value)),
                               ShownValue(other, ValueText(*setting, other))});
    }
}
catch (const CommandError& error)
{
    changed.push_back({TextOf(vlan), error.what(), "", ""});
}

void AddChangedSettings(CSession& session, const std::vector<PictureNode>& nodes, std::vector<ChangedSetting>& changed)
{
    for (const PictureNode& node : nodes)
    {
        AddChangedSettings(session, node.children, changed);
        if (node.kind == PictureKind::Vlan)
            AddChangedSettingsOf(session, node, changed);
    }
}
} // namespace

ExitStatus RunReport(CSession& session, const ReportOptions& options)
{
    HostPage page;
    page.machine = ComputerName();
    page.time = TimeText();
    page.picture = ReadPicture(session);
    AddChangedSettings(session, page.picture.nodes, page.settings);
    WriteTextFile(options.file, HtmlOf(page));
    Print(options.file + " tells of " + Summary(page.picture.nodes) + "\n");
    return EXIT_DONE;
}
