// The version of this library: texts, the version resource, the build and the driver package take it from
// here. The resource compiler reads this file as well, so the numbers are macros.
#pragma once

#define TAVIX_VERSION_MAJOR 1
#define TAVIX_VERSION_MINOR 7
#define TAVIX_VERSION_BUILD 11

#ifndef RC_INVOKED
inline constexpr int kProductVersionMajor = TAVIX_VERSION_MAJOR;
inline constexpr int kProductVersionMinor = TAVIX_VERSION_MINOR;
inline constexpr int kProductVersionBuild = TAVIX_VERSION_BUILD;
#endif
