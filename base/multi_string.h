// A list of texts in one block, as the registry keeps them: each with its NUL, an empty one at the end.
//
//   for (std::wstring_view name : MultiString(block)) ...
#pragma once

#include <string_view>

#include "base/bounded_text.h"

// A view of a block that the caller owns. The list ends at its first empty text or at the end of the block;
// the last text may lack its NUL.
class MultiString {
  public:
    class Iterator {
      public:
        explicit Iterator(std::wstring_view rest) noexcept
            : rest_(rest), item_(BoundedText(rest.data(), rest.size())) {}
        std::wstring_view operator*() const noexcept { return item_; }
        Iterator& operator++() noexcept {
            rest_.remove_prefix(std::min(item_.size() + 1, rest_.size()));
            item_ = BoundedText(rest_.data(), rest_.size());
            return *this;
        }
        // Only good for comparing with the end.
        bool operator==(const Iterator& other) const noexcept { return item_.empty() == other.item_.empty(); }

      private:
        std::wstring_view rest_;
        std::wstring_view item_;
    };

    explicit MultiString(std::wstring_view block) noexcept : block_(block) {}
    Iterator begin() const noexcept { return Iterator(block_); }
    Iterator end() const noexcept { return Iterator({}); }

  private:
    std::wstring_view block_;
};
