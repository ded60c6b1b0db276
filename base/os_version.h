// What the code asks about the age of the system. All three read the version anew at each call.
#pragma once

// True below major version 6, and also when the version cannot be read.
bool IsPreVistaOs() noexcept;

// True from major version 6 on, and also when the version cannot be read: an unknown system counts as both,
// so that neither caller loses what it does for its side.
bool IsVistaOrLaterOs() noexcept;

// True when the major version is exactly 5.
bool IsWinXpFamily() noexcept;
