#include "Tools/vlanctl/DesiredStateScan.h"

#include <algorithm>
#include <cctype>
#include <set>

using Json = nlohmann::ordered_json;

namespace
{
// "line 3, column 5", of the byte that was read last.
std::string PlaceOf(const std::string& text, size_t position)
{
    const std::string before = text.substr(0, position > 0 ? position - 1 : 0);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const size_t start = before.rfind('\n') + 1; // 0 without one
    const auto column = 1 + std::count_if(before.begin() + static_cast<std::ptrdiff_t>(start), before.end(),
                                          [](char byte) { return (byte & 0xC0) != 0x80; });
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

class CScan : public nlohmann::json_sax<Json>
{
  public:
    CScan(const std::string& text, std::vector<std::string>& faults) : m_text(text), m_faults(faults) {}

    bool null() override { return Value(); }
    bool boolean(bool) override { return Value(); }
    bool number_integer(number_integer_t) override { return Value(); }
    bool number_unsigned(number_unsigned_t) override { return Value(); }
    bool number_float(number_float_t, const string_t&) override { return Value(); }
    bool string(string_t&) override { return Value(); }
    bool binary(binary_t&) override { return Value(); }
    bool start_object(std::size_t) override { return Begin(false); }
    bool start_array(std::size_t) override { return Begin(true); }
    bool end_object() override { return End(); }
    bool end_array() override { return End(); }
    bool key(string_t& name) override
    {
        if (!m_levels.back().keys.insert(name).second)
            m_faults.push_back(::PlaceOf(m_levels.back().place, name) + " is there twice");
        m_levels.back().key = name;
        return true;
    }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) override
    {
        const std::string what = error.what();
        const size_t colon = what.find(": ");
        m_faults.push_back(PlaceOf(m_text, position) + ": " +
                           (colon != std::string::npos ? what.substr(colon + 2) : what));
        return false;
    }

  private:
    struct LEVEL
    {
        std::string place;
        bool isArray = false;
        size_t index = 0;
        std::string key;
        std::set<std::string> keys;
    };

    bool Value()
    {
        if (!m_levels.empty() && m_levels.back().isArray)
            ++m_levels.back().index;
        return true;
    }
    bool Begin(bool isArray)
    {
        std::string place;
        if (!m_levels.empty())
            place = m_levels.back().isArray ? ::PlaceOf(m_levels.back().place, m_levels.back().index)
                                            : ::PlaceOf(m_levels.back().place, m_levels.back().key);
        m_levels.push_back({place, isArray, 0, {}, {}});
        return true;
    }
    bool End()
    {
        m_levels.pop_back();
        return Value();
    }

    const std::string& m_text;
    std::vector<std::string>& m_faults;
    std::vector<LEVEL> m_levels;
};
} // namespace

Json ScanJson(const std::string& text, std::vector<std::string>& faults)
{
    constexpr bool WHOLE = true;
    constexpr bool WITH_COMMENTS = true;
    CScan scan(text, faults);
    Json::sax_parse(text, &scan, nlohmann::detail::input_format_t::json, WHOLE, WITH_COMMENTS);
    return faults.empty() ? Json::parse(text, nullptr, false, WITH_COMMENTS) : Json();
}

std::string PlaceOf(const std::string& place, const std::string& key)
{
    const bool isWord = !key.empty() && std::all_of(key.begin(), key.end(), [](char letter) {
        return letter == '_' || letter == '$' || std::isalnum(static_cast<unsigned char>(letter)) != 0;
    });
    if (isWord)
        return place + (place.empty() ? "" : ".") + key;
    return place + "[" + Json(key).dump(-1, ' ', false, Json::error_handler_t::replace) + "]";
}

std::string PlaceOf(const std::string& place, size_t index)
{
    return place + "[" + std::to_string(index) + "]";
}
