#include "Tests/Harness/TraceFile.h"

#include <windows.h>
#include <share.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <system_error>

namespace
{

std::wstring Environment(const wchar_t* name)
{
    wchar_t text[MAX_PATH] = {};
    GetEnvironmentVariableW(name, text, MAX_PATH);
    return text;
}

} // namespace

CTempFolder::CTempFolder() : m_strBefore(Environment(L"Temp"))
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    m_strFolder =
        m_strBefore + L'\\' + std::filesystem::path(program).stem().wstring() + Environment(L"GTEST_SHARD_INDEX");
    // What an earlier run has left; a file that is still open in this process stays.
    std::error_code ignored;
    std::filesystem::remove_all(m_strFolder, ignored);
    std::filesystem::create_directories(m_strFolder, ignored);
    _wputenv_s(L"Temp", m_strFolder.c_str());
}

CTempFolder::~CTempFolder()
{
    _wputenv_s(L"Temp", m_strBefore.c_str());
    std::error_code ignored;
    std::filesystem::remove_all(m_strFolder, ignored);
}

bool FileExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

size_t FileSize(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    return GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) ? data.nFileSizeLow : 0;
}

std::string FileText(const std::wstring& path, size_t offset)
{
    std::string text;
    FILE* const file = _wfsopen(path.c_str(), L"rb", _SH_DENYNO);
    if (file == nullptr)
        return text;
    fseek(file, static_cast<long>(offset), SEEK_SET);
    char part[4096];
    for (size_t size = fread(part, 1, sizeof(part), file); size != 0; size = fread(part, 1, sizeof(part), file))
        text.append(part, size);
    fclose(file);
    return text;
}

std::vector<RAV_TRACE_LINE> TraceLines(const std::wstring& path, size_t offset)
{
    static const std::regex columns("([^\t]*)\tPID:([0-9a-f]+)\tTID:([0-9a-f]+)\t\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d\t"
                                    "\\([0-9A-F]+\\)\tTIER (-?\\d+)\t\t");
    std::vector<RAV_TRACE_LINE> lines;
    const std::string text = FileText(path, offset);
    for (size_t start = 0; start < text.size();)
    {
        const size_t end = text.find("\r\n", start);
        const std::string line = text.substr(start, end == std::string::npos ? end : end - start);
        start = end == std::string::npos ? text.size() : end + 2;
        std::smatch match;
        const bool good = std::regex_search(line, match, columns, std::regex_constants::match_continuous);
        if (!good || end == std::string::npos)
            lines.push_back({{}, 0, 0, 0, "MALFORMED: " + line});
        else
            lines.push_back({match[1], std::stoul(match[2], nullptr, 16), std::stoul(match[3], nullptr, 16),
                             std::stoi(match[4]), match.suffix()});
    }
    return lines;
}

std::string TraceText(const std::wstring& path, size_t offset)
{
    std::string text;
    for (const RAV_TRACE_LINE& line : TraceLines(path, offset))
        text += std::to_string(line.tier) + ' ' + line.message + '\n';
    return text;
}
