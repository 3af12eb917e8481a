// The dispatcher and all handlers with any header and payload, over a library that misbehaves.
//
// An input is 8 bytes that decide what the library does, then up to 16 requests: a header, and as
// much payload as it announces or the input still has. Behind a payload lie just the readable bytes
// that a connection promises, then memory ends.
//
// All runs share one server, which is put back to one of three beginnings ahead of each: a library
// that was never initialised, one that is, and one that has been released.

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

#include "ipc/message_handler.h"
#include "ipc/payload_buffer.h"
#include "ipc/pipe_server.h"
#include "sdk/accel_sdk.h"
#include "sdk/completions.h"
#include "sdk/kernel_function_table.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/guarded_bytes.h"
#include "tests/fuzz/misbehaving_library.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/import_patch.h"
#include "tests/support/ownership_inspector.h"
#include "tests/support/pipe_server_inspector.h"

namespace orva_accelerator::fuzz {
namespace {

using Input = std::span<const std::uint8_t>;

constexpr std::uint32_t kRegisteredClient = 7;
constexpr std::size_t kSeedSize = 8;
constexpr std::size_t kMostRequests = 16;

// What the first bytes of an input, taken for a number, leave over when divided by three.
enum class Beginning { NeverInitialised, Initialised, Released };

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
PTP_POOL WINAPI createNoThreadpool(PVOID) {
  return nullptr;
}

// In force for as long as the process lives.
struct System {
  test::ImportPatch<decltype(loadLibrary)> load{"kernel32.dll", "LoadLibraryW", loadLibrary};
  test::ImportPatch<decltype(lookUp)> find{"kernel32.dll", "GetProcAddress", lookUp};
  test::ImportPatch<decltype(write)> pipe{"kernel32.dll", "WriteFile", write};
  test::ImportPatch<decltype(closeHandle)> close{"kernel32.dll", "CloseHandle", closeHandle};
  test::ImportPatch<decltype(pauseNot)> pause{"kernel32.dll", "Sleep", pauseNot};
  test::ImportPatch<decltype(createNoThreadpool)> pool{"kernel32.dll", "CreateThreadpool",
                                                       createNoThreadpool};
};

ipc::PipeServer* server = nullptr;
GuardedBytes* payloads = nullptr;

void registerClient() {
  ipc::PushClient client;
  client.id = kRegisteredClient;
  client.pipe = std::make_shared<ipc::PushPipe>(win32::UniqueFileHandle(pushPipe()));
  client.connected = true;
  ipc::PipeServerInspector(*server).putPushClient(kRegisteredClient, std::move(client));
}

void putBack(Beginning beginning) {
  set(server->ownership, ipc::kNobody);
  if (server->PushClientCount() == 0) registerClient();
  sdk::loginResultHandler.install(nullptr);
  sdk::stopResultHandler.install(nullptr);
  sdk::accelResultHandler.install(nullptr);
  sdk::AccelSdk& accelSdk = sdk::AccelSdk::Instance();
  accelSdk.Release();
  if (beginning == Beginning::NeverInitialised) return sdk::kernelFunctions.clear();
  (void)accelSdk.Init({});  // The library is there, with all its functions.
  if (beginning == Beginning::Released) accelSdk.Release();
}

void dispatch(const ipc::MessageHeader& header, Input payload) {
  void* response = nullptr;
  std::uint32_t length = 0;
  try {
    ipc::DispatchRequest(*server, header, payloads->hold(payload).data(), response, length);
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
    seed[0] = static_cast<std::uint8_t>(Beginning::Initialised);
    seed.insert(seed.end(), vector.bytes.begin(), vector.bytes.end());
  }
  return seeds;
}

void prepareTarget() {
  (void)test::goldenVectors("requests.json");  // Read while files can still be closed.
  new System;                                  // For ever.
  server = new ipc::PipeServer;
  payloads = new GuardedBytes(kLongestInput, ipc::PayloadBuffer::kReadMargin);
  ipc::currentPipeServer = server;
  // Loads the library, which stays.
  (void)sdk::AccelSdk::Instance().Init({});
}

void runTarget(Input input) {
  if (input.size() < kSeedSize) return;
  std::uint64_t seed = 0;
  std::memcpy(&seed, input.data(), sizeof seed);
  input = input.subspan(kSeedSize);
  putBack(static_cast<Beginning>(seed % 3));
  seedLibrary(seed);
  ipc::MessageHeader header;
  for (std::size_t i = 0; i < kMostRequests && input.size() >= sizeof header; ++i) {
    std::memcpy(&header, input.data(), sizeof header);
    input = input.subspan(sizeof header);
    const std::size_t size = std::min<std::size_t>(header.payloadLength, input.size());
    dispatch(header, input.first(size));
    input = input.subspan(size);
    completeLate();
  }
}

}  // namespace orva_accelerator::fuzz
