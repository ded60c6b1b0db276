// The version of this library, as texts and the resources show it.
#pragma once

inline constexpr int kProductVersionMajor = 1;
inline constexpr int kProductVersionMinor = 7;
inline constexpr int kProductVersionBuild = 11;
