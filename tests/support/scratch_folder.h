// A folder of the test's own, deleted with all that is in it at the end of the scope.
#pragma once

#include <string>
#include <vector>

class ScratchFolder {
  public:
    // Below the system's temporary folder, with this text in its name.
    explicit ScratchFolder(const std::wstring& name);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::wstring& path() const { return path_; }
    std::wstring File(const std::wstring& name) const { return path_ + L"\\" + name; }
    // Names of what is in it.
    std::vector<std::wstring> Entries() const;

  private:
    std::wstring path_;
};
