// The info box's built-in dialog template, built in memory because its font size depends on the caller.
#pragma once

#include <array>
#include <cstdint>

#include "base/windows_api.h"

#include "ui/info_box.h"

class InfoBoxTemplate {
  public:
    // `params` with its defaults applied.
    explicit InfoBoxTemplate(const FlexiInfoParams& params) noexcept;

    const DLGTEMPLATE* get() const noexcept { return reinterpret_cast<const DLGTEMPLATE*>(words_.data()); }
    size_t UsedWords() const noexcept { return used_; }

  private:
    void AddWord(uint16_t word) noexcept;
    void AddDword(uint32_t value) noexcept;
    void AddText(const wchar_t* text) noexcept;
    void AlignToDword() noexcept;

    // Templates start on, and their items lie on, four-byte boundaries.
    alignas(4) std::array<uint16_t, 256> words_{};
    size_t used_ = 0;
};
