#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// Reads JSON with comments, and finds what a parser passes over in silence: keys that an object has twice. Each fault
// is a line that begins with its place. The value, its members in the order of the text,
// is there when there are none.
nlohmann::ordered_json ScanJson(const std::string& text, std::vector<std::string>& faults);

// The place of a member: parents["Port A"], vlans[1].
std::string PlaceOf(const std::string& place, const std::string& key);
std::string PlaceOf(const std::string& place, size_t index);
