// Texts about the driver that several places show.
#pragma once

inline constexpr wchar_t kNotAdministratorText[] =
    L"Cannot make the change, probably because you are not the Administrator.";
inline constexpr wchar_t kFlowpathLostText[] = L"Flowpath is lost.";
