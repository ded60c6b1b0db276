// What the loading of a library brings into a process.
#pragma once

// Loads first the libraries that the image imports, then the image, and ends the process with exit code 0
// after writing the file names of what the second step has added to the standard error output:
// "brings: [a.dll][b.dll]", in alphabetical order and in lower case, with "[windows]" behind them when there
// are windows. For EXPECT_EXIT, whose new process has none of the libraries that other tests have brought in.
[[noreturn]] void TellWhatLoadingBrings(const wchar_t* imagePath);
