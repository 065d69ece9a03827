// The page about the machine's VLANs.

#include "Tools/vlanctl/Commands.h"

#include "Tools/vlanctl/HostPage.h"
#include "Tools/vlanctl/Inventory.h"
#include "Tools/vlanctl/Output.h"
#include "Tools/vlanctl/Settings.h"
#include "Tools/vlanctl/TextFile.h"

namespace
{
std::string LocalTime()
{
    SYSTEMTIME time = {};
    GetLocalTime(&time);
    char text[32] = {};
    std::snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u", time.wYear, time.wMonth, time.wDay, time.wHour,
                  time.wMinute);
    return text;
}

void AddChangedSettings(CSession& session, const std::vector<PictureNode>& nodes, std::vector<ChangedSetting>& changed)
{
    for (const PictureNode& node : nodes)
    {
        AddChangedSettings(session, node.children, changed);
        // Those of a damaged VLAN may be unreadable; its finding is on the page.
        if (node.kind != PictureKind::Vlan || !node.findings.empty())
            continue;
        for (const auto& setting : ReadSettings(session, CRavString(FromUtf8(node.key).c_str())))
        {
            const int32_t value = RavCurrentOf(*setting);
            const int32_t other = RavDefaultOf(*setting);
            if (value != other)
                changed.push_back({node.id + " " + node.name, ToUtf8(setting->strName),
                                   ShownValue(value, ValueText(*setting, value)),
                                   ShownValue(other, ValueText(*setting, other))});
        }
    }
}
} // namespace

ExitStatus RunReport(CSession& session, const ReportOptions& options)
{
    HostPage page;
    page.machine = ComputerName();
    page.time = LocalTime();
    page.nodes = ReadPicture(session);
    AddChangedSettings(session, page.nodes, page.settings);
    WriteTextFile(options.file, HtmlOf(page));
    Print(options.file + " tells of " + Summary(page.nodes) + "\n");
    return EXIT_DONE;
}
