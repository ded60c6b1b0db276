// Where the parts of a report go: a folder, or a zip file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/win32_handle.h"
#include "base/windows_api.h"

class ReportSink {
  public:
    virtual ~ReportSink() = default;

    // `name` has slashes between its folders. A failure ends the command.
    virtual void Add(const std::string& name, std::string_view bytes) = 0;
    // Once, after the last part.
    virtual void Finish() {}
};

// A zip file for a path that ends in ".zip", which must be new or a file to replace; a folder, made when it
// is missing, for any other.
std::unique_ptr<ReportSink> OpenReport(const std::wstring& path);

// CRC-32 as zip files have it.
uint32_t Crc32(std::string_view bytes);
