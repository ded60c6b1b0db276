// Refuses to run on systems whose wide-character functions are empty stubs.
#pragma once

// Returns when the system has working wide-character functions; otherwise says so and ends the process with
// exit code 0.
void EndProcessWithoutUnicode() noexcept;

// Returns its argument, for use inside an initializer.
template <typename T>
T RequireUnicodeOs(T value) noexcept {
    EndProcessWithoutUnicode();
    return value;
}
