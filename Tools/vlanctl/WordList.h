#pragma once

#include <algorithm>
#include <string>
#include <vector>

// The words of a list with commas between them, blanks after these: "id, name".
inline std::vector<std::string> WordsOf(const std::string& text)
{
    std::vector<std::string> words;
    for (size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1)
    {
        if (begin > 0)
            begin = std::min(text.find_first_not_of(' ', begin), text.size());
        end = text.find(',', begin);
        words.push_back(text.substr(begin, end == std::string::npos ? end : end - begin));
    }
    return words;
}

// The words with a separator between.
inline std::string Joined(const std::vector<std::string>& words, const std::string& separator)
{
    std::string text;
    for (size_t index = 0; index < words.size(); ++index)
        text += (index == 0 ? "" : separator) + words[index];
    return text;
}
