#pragma once

#include <string>

// How many places a text takes where every character has one or two, as on a console.
size_t Width(const std::string& text);
// As much of a text as takes so many places; what was left out shows as an ellipsis in the last one.
std::string Shortened(const std::string& text, size_t places);
