// Checks of the system's version, which is read again at each call.
#pragma once

// True below major version 6, and also when the version cannot be read.
bool IsPreVistaOs() noexcept;

// True from major version 6 on, and also when the version cannot be read: an unknown system counts as both,
// so that each caller does what its side needs.
bool IsVistaOrLaterOs() noexcept;

// True when the major version is exactly 5.
bool IsWinXpFamily() noexcept;
