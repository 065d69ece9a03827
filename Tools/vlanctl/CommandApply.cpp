// Bringing the host to what a file says.

#include "Tools/vlanctl/Apply.h"
#include "Tools/vlanctl/Output.h"

ExitStatus RunApply(CSession& session, const ApplyOptions& options)
{
    const Applied applied = ApplyPlan(session, options, MakeDesiredPlan(session, options));
    if (options.json)
    {
        nlohmann::ordered_json json = ReportToJson(applied.report);
        json["differences"] = DifferencesToJson(applied.differences);
        if (!applied.confirmUntil.empty())
            json["confirmUntil"] = applied.confirmUntil;
        PrintJson(json);
    }
    return StatusOf(applied.report);
}
