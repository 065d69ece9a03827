#pragma once
// Reading what the trace log has written, and a folder for it.

#include <string>
#include <vector>

// An empty folder of this test program's own, or of this one of its shards, to which the environment variable Temp
// points; Temp is restored at the end.
class CTempFolder
{
  public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    std::wstring Path(const std::wstring& name) const { return m_strFolder + L'\\' + name; }
    const std::wstring& Folder() const { return m_strFolder; }

  private:
    std::wstring m_strFolder;
    std::wstring m_strBefore;
};

struct RAV_TRACE_LINE
{
    std::string component;
    unsigned long process = 0;
    unsigned long thread = 0;
    int tier = 0;
    std::string message;
};

bool FileExists(const std::wstring& path);
size_t FileSize(const std::wstring& path);
// What stands from the offset on. A file that does not exist reads as empty.
std::string FileText(const std::wstring& path, size_t offset = 0);
// A line that hasn't the columns of the log has MALFORMED and the line itself as its message.
std::vector<RAV_TRACE_LINE> TraceLines(const std::wstring& path, size_t offset = 0);
// "TIER message" of each line from the offset on.
std::string TraceText(const std::wstring& path, size_t offset = 0);
