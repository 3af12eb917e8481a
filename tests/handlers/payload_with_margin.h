// A request's payload as handlers are given it.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>

#include "ipc/payload_buffer.h"

namespace orva_accelerator::test {

// Behind the payload lie just the readable bytes that a connection promises, each of them `margin`;
// then memory ends, on every heap, so that a read of one byte more is an access violation.
class PayloadWithMargin {
 public:
  explicit PayloadWithMargin(std::span<const std::uint8_t> payload, std::uint8_t margin = 0) {
    constexpr std::size_t kPage = 4096;
    const std::size_t size = payload.size() + ipc::PayloadBuffer::kReadMargin;
    const std::size_t pages = (size + kPage - 1) / kPage * kPage;
    base_ = static_cast<std::uint8_t*>(
        VirtualAlloc(nullptr, pages + kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (base_ == nullptr) throw std::bad_alloc();
    if (VirtualAlloc(base_, pages, MEM_COMMIT, PAGE_READWRITE) == nullptr) throw std::bad_alloc();
    payload_ = base_ + pages - size;
    std::fill_n(std::copy(payload.begin(), payload.end(), payload_),
                ipc::PayloadBuffer::kReadMargin, margin);
  }
  PayloadWithMargin(const PayloadWithMargin&) = delete;
  PayloadWithMargin& operator=(const PayloadWithMargin&) = delete;
  ~PayloadWithMargin() { (void)VirtualFree(base_, 0, MEM_RELEASE); }  // Ours, so it succeeds.

  const std::uint8_t* get() const { return payload_; }

 private:
  std::uint8_t* base_;
  std::uint8_t* payload_;
};

}  // namespace orva_accelerator::test
