// Text on the wire (UTF-8, no terminator) and inside the service (UTF-16).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orva_accelerator::ipc {

// Converts the `length` bytes of UTF-8 at offset `cursor` of the payload and advances the cursor by
// that length, whatever became of the conversion. Invalid UTF-8 is replaced as the system does it,
// not rejected. The length is the client's and is not compared with that of the payload: the
// payload's read margin (see PayloadBuffer) is what makes that safe.
std::wstring ReadPayloadText(const void* payload, std::uint32_t& cursor, std::uint16_t length);

// The UTF-8 form of a wide string.
std::string ToUtf8(const std::wstring& text);

// The same, held without a heap block as long as it is no longer than the texts of the library's
// records can become.
class Utf8Text {
 public:
  explicit Utf8Text(const std::wstring& text);
  Utf8Text(const Utf8Text&) = delete;
  Utf8Text& operator=(const Utf8Text&) = delete;

  // Valid as long as this object.
  std::string_view view() const { return view_; }

 private:
  static constexpr std::size_t kUsualSize =
      std::size_t{256} * 3;  // A unit takes at most three bytes.

  std::array<char, kUsualSize> usual_;  // Written where it is used.
  std::unique_ptr<char[]> long_;
  std::string_view view_;
};

}  // namespace orva_accelerator::ipc
