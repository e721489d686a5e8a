#pragma once

// The version that every contender reads, and a later one.
constexpr const char* VERSION = "1.10.2.20261123";
constexpr const char* LATER_VERSION = "1.10.2.20261124";
