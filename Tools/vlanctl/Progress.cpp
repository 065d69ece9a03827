#include "Tools/vlanctl/Progress.h"

#include "Tools/vlanctl/Output.h"

namespace
{
constexpr ULONGLONG SECOND = 1000; // milliseconds
constexpr ULONGLONG MINUTE = 60;   // seconds
} // namespace

CProgressLine::~CProgressLine()
{
    PrintError("");
}

void CProgressLine::Show(size_t done, const std::string& what)
{
    if (m_total < 2 || done >= m_total)
        return;
    const ULONGLONG now = GetTickCount64();
    const std::string text = ProgressText(done + 1, m_total, (now - m_start) / SECOND, what);
    if (ShowPassing(text) || now - m_last < SECOND)
        return;
    PrintError(text + "\n");
    m_last = now;
}

std::string ProgressText(size_t step, size_t total, ULONGLONG seconds, const std::string& what)
{
    const std::string elapsed =
        seconds < MINUTE ? std::to_string(seconds) + " s"
                         : std::to_string(seconds / MINUTE) + " min " + std::to_string(seconds % MINUTE) + " s";
    return std::to_string(step) + " of " + std::to_string(total) + ", " + elapsed + ": " + what;
}
