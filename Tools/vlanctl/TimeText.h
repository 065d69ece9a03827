#pragma once

#include <string>

// The local time in so many seconds: "2026-11-25 18:01:12".
std::string TimeText(unsigned inSeconds = 0);
