// Stamps a customer's resource library: writes the digest into its string 18001. Finding the place,
// calculating and verifying is the product's own code.
#pragma once

#include <string>

enum class StampOutcome {
    kStamped,
    kAlreadyStamped,  // the file was left as it is
    kFailed,          // the file was left as it is, or is no library that can be stamped
};

struct StampResult {
    StampOutcome outcome;
    std::wstring digest;  // empty on failure
    std::wstring error;   // what is wrong, without the file's name; empty on success
};

// The new file is written beside the old one as "<path>.stamping", verified there and put in its place by one
// rename: whatever interrupts this, the path names either the old file or the complete new one.
StampResult StampLibrary(const std::wstring& path);

// Verifies without writing: kAlreadyStamped or kFailed.
StampResult CheckLibrary(const std::wstring& path);

// True when the product would not use the library even if it is intact, because its string 18000 says so.
bool IsLibrarySwitchedOff(const std::wstring& path);
