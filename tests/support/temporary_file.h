// A file of the test's own, deleted at the end of the scope.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class TemporaryFile {
  public:
    explicit TemporaryFile(const std::vector<uint8_t>& content);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::wstring& path() const { return path_; }

  private:
    std::wstring path_;
};

// Both fail the test when the file cannot be used.
void WriteWholeFile(const std::wstring& path, const std::vector<uint8_t>& content);
std::vector<uint8_t> ReadWholeFile(const std::wstring& path);
