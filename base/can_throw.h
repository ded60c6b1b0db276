// The runtime takes memory of its own for the first exception of a process and of a thread, and ends the
// process when there is none. A function that turns std::bad_alloc into a result asks here before its `try`.
#pragma once

// False when so little memory is left that nothing may be allocated that could throw.
bool CanThrow() noexcept;
