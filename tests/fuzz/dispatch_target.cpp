// The dispatcher and all handlers with any header and payload, over a library that misbehaves.
//
// An input is 8 bytes that decide what the library does, a request's header (of which the handlers
// look at type and client id), and its payload. Behind the payload lie just the readable bytes that
// a connection promises, then memory ends.

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

#include "handlers/request_handlers.h"
#include "ipc/payload_buffer.h"
#include "ipc/pipe_server.h"
#include "sdk/accel_sdk.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/misbehaving_library.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_server_inspector.h"

namespace orva_accelerator::fuzz {
namespace {

using Input = std::span<const std::uint8_t>;

constexpr std::uint32_t kRegisteredClient = 7;
constexpr std::size_t kSeedSize = 8;

// Nobody looks into either; their addresses are the handles.
char libraryAnchor;
char pipeAnchor;

HMODULE library() {
  return reinterpret_cast<HMODULE>(&libraryAnchor);
}
HANDLE pushPipe() {
  return &pipeAnchor;
}

std::uint8_t sumOf(const void* memory, std::size_t size) {
  const auto* bytes = static_cast<const volatile std::uint8_t*>(memory);
  std::uint8_t sum = 0;
  for (std::size_t i = 0; i < size; ++i) sum = static_cast<std::uint8_t>(sum + bytes[i]);
  return sum;
}

HMODULE WINAPI loadLibrary(LPCWSTR) {
  return library();
}
FARPROC WINAPI lookUp(HMODULE module, LPCSTR name) {
  return module == library() ? libraryFunction(name) : nullptr;
}
BOOL WINAPI write(HANDLE pipe, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED) {
  if (pipe != pushPipe()) std::abort();
  (void)sumOf(bytes, size);  // All of it must be there.
  *written = size;
  return TRUE;
}
BOOL WINAPI closeHandle(HANDLE) {
  return TRUE;
}
void WINAPI pauseNot(DWORD) {}
PTP_TIMER WINAPI createNoTimer(PTP_TIMER_CALLBACK, PVOID, PTP_CALLBACK_ENVIRON) {
  return nullptr;
}

// In force for as long as the process lives.
struct System {
  test::ImportPatch<decltype(loadLibrary)> load{"kernel32.dll", "LoadLibraryW", loadLibrary};
  test::ImportPatch<decltype(lookUp)> find{"kernel32.dll", "GetProcAddress", lookUp};
  test::ImportPatch<decltype(write)> pipe{"kernel32.dll", "WriteFile", write};
  test::ImportPatch<decltype(closeHandle)> close{"kernel32.dll", "CloseHandle", closeHandle};
  test::ImportPatch<decltype(pauseNot)> pause{"kernel32.dll", "Sleep", pauseNot};
  test::ImportPatch<decltype(createNoTimer)> timer{"kernel32.dll", "CreateThreadpoolTimer",
                                                   createNoTimer};
};

// A payload as a connection's buffer holds it.
class PayloadPages {
 public:
  PayloadPages() {
    constexpr std::size_t kPage = 4096;
    const std::size_t size =
        (kLongestInput + ipc::PayloadBuffer::kReadMargin + kPage - 1) / kPage * kPage;
    auto* base =
        static_cast<std::uint8_t*>(VirtualAlloc(nullptr, size + kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (base == nullptr || VirtualAlloc(base, size, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
      std::abort();
    }
    marginStart_ = base + size - ipc::PayloadBuffer::kReadMargin;
  }
  const void* hold(Input payload) {
    return std::copy(payload.begin(), payload.end(), marginStart_ - payload.size()) -
           payload.size();
  }

 private:
  std::uint8_t* marginStart_ = nullptr;
};

ipc::PipeServer* server = nullptr;
PayloadPages* pages = nullptr;

void registerClient() {
  ipc::PushClient client;
  client.id = kRegisteredClient;
  client.pipe = std::make_shared<ipc::PushPipe>(pushPipe());
  client.connected = true;
  ipc::PipeServerInspector(*server).putPushClient(kRegisteredClient, std::move(client));
}

void dispatch(const ipc::MessageHeader& header, Input payload) {
  void* response = nullptr;
  std::uint32_t length = 0;
  try {
    ipc::DispatchRequest(*server, header, pages->hold(payload), response, length);
  } catch (const std::invalid_argument&) {
    // The documented end of a node selection with a piece that is no number.
  } catch (const std::out_of_range&) {
    // Likewise, of a number that is none of 32 bits.
  } catch (const std::length_error&) {
    // The documented end of a list of more records than there can be; std::bad_alloc as well.
  } catch (const std::bad_alloc&) {
  }
  if (length == 0) return;
  (void)sumOf(response, length);  // All of it must be there.
  delete[] static_cast<std::uint8_t*>(response);
}

}  // namespace

std::vector<std::vector<std::uint8_t>> targetSeeds() {
  std::vector<std::vector<std::uint8_t>> seeds;
  for (const auto& vector : test::goldenVectors("requests.json")) {
    if (vector.bytes.size() + kSeedSize > kLongestInput) continue;
    auto& seed = seeds.emplace_back(kSeedSize);
    seed.insert(seed.end(), vector.bytes.begin(), vector.bytes.end());
  }
  return seeds;
}

void prepareTarget() {
  (void)test::goldenVectors("requests.json");  // Read while files can still be closed.
  new System;                                  // For ever.
  server = new ipc::PipeServer;
  pages = new PayloadPages;
  ipc::currentPipeServer = server;
  registerClient();
}

void runTarget(Input input) {
  if (input.size() < kSeedSize + sizeof(ipc::MessageHeader)) return;
  std::uint64_t seed = 0;
  std::memcpy(&seed, input.data(), sizeof seed);
  ipc::MessageHeader header;
  std::memcpy(&header, input.data() + kSeedSize, sizeof header);
  seedLibrary(seed);
  dispatch(header, input.subspan(kSeedSize + sizeof header));
  if (server->PushClientCount() == 0) registerClient();
  // A start that never reports would keep all others from being made.
  if ((seed & 1) == 0) server->ownership.clear();
}

}  // namespace orva_accelerator::fuzz
