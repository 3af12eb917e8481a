#include "tests/support/raw_pipe_client.h"

#include <algorithm>
#include <thread>

namespace orva_accelerator::test {
namespace {

using Clock = std::chrono::steady_clock;
using End = PipeOutcome::End;

End endFor(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS:
      return End::Done;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return End::Closed;
    default:
      return End::Failed;
  }
}

std::chrono::milliseconds until(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  return std::max(left, std::chrono::milliseconds(0));
}

}  // namespace

DWORD RawPipeClient::open(const std::wstring& name, std::chrono::milliseconds limit) {
  close();
  leftOver_.clear();
  DWORD error = ERROR_SUCCESS;
  const auto attempt = [&] {
    pipe_.reset(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                            FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS,
                            nullptr));
    error = pipe_ ? ERROR_SUCCESS : GetLastError();
    return error != ERROR_FILE_NOT_FOUND && error != ERROR_PIPE_BUSY;
  };
  (void)waitUntil(attempt, limit);  // `error` tells.
  if (error != ERROR_SUCCESS) return error;
  DWORD mode = PIPE_READMODE_MESSAGE;
  if (!SetNamedPipeHandleState(pipe_.get(), &mode, nullptr, nullptr)) {
    error = GetLastError();
    close();
  }
  return error;
}

template <typename Call>
PipeOutcome RawPipeClient::perform(Call call, DWORD& moved, std::chrono::milliseconds limit) {
  PipeOutcome outcome;
  const win32::UniqueKernelHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!event) {
    outcome.error = GetLastError();
    return outcome;
  }
  OVERLAPPED overlapped{};
  overlapped.hEvent = event.get();
  bool timedOut = false;
  if (!call(&overlapped)) {
    outcome.error = GetLastError();
    // A call that failed at once is over: waiting for its result would never end. One that left
    // more data behind has a result.
    if (outcome.error != ERROR_IO_PENDING && outcome.error != ERROR_MORE_DATA) {
      outcome.end = endFor(outcome.error);
      return outcome;
    }
    if (outcome.error == ERROR_IO_PENDING) {
      const DWORD wait = WaitForSingleObject(event.get(), static_cast<DWORD>(limit.count()));
      if (wait != WAIT_OBJECT_0) {
        timedOut = true;
        // Fails when the operation ended just now; its result is waited for in either case.
        (void)CancelIoEx(pipe_.get(), &overlapped);
      }
    }
  }
  outcome.error =
      GetOverlappedResult(pipe_.get(), &overlapped, &moved, TRUE) ? ERROR_SUCCESS : GetLastError();
  outcome.end =
      timedOut && outcome.error == ERROR_OPERATION_ABORTED ? End::TimedOut : endFor(outcome.error);
  return outcome;
}

PipeOutcome RawPipeClient::write(std::span<const std::uint8_t> message,
                                 std::chrono::milliseconds limit) {
  DWORD moved = 0;
  PipeOutcome outcome = perform(
      [&](OVERLAPPED* overlapped) {
        return WriteFile(pipe_.get(), message.data(), static_cast<DWORD>(message.size()), nullptr,
                         overlapped);
      },
      moved, limit);
  if (outcome.done() && moved != message.size()) {
    outcome.end = End::Failed;
    outcome.error = ERROR_WRITE_FAULT;
  }
  return outcome;
}

PipeOutcome RawPipeClient::read(std::chrono::milliseconds limit) {
  PipeOutcome whole;
  if (!leftOver_.empty()) {
    whole.end = End::Done;
    whole.message.swap(leftOver_);
    return whole;
  }
  const auto deadline = Clock::now() + limit;
  std::vector<std::uint8_t> message;
  for (;;) {
    std::uint8_t piece[4096];
    DWORD moved = 0;
    whole = perform(
        [&](OVERLAPPED* overlapped) {
          return ReadFile(pipe_.get(), piece, sizeof piece, nullptr, overlapped);
        },
        moved, until(deadline));
    message.insert(message.end(), piece, piece + moved);
    if (whole.error != ERROR_MORE_DATA) break;
  }
  whole.message = std::move(message);
  return whole;
}

std::vector<std::uint8_t> RawPipeClient::readBytes(std::size_t count,
                                                   std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  std::vector<std::uint8_t> bytes;
  while (bytes.size() < count) {
    PipeOutcome next = read(until(deadline));
    if (!next.done()) break;
    const std::size_t taken = std::min(count - bytes.size(), next.message.size());
    const auto middle = next.message.begin() + static_cast<std::ptrdiff_t>(taken);
    bytes.insert(bytes.end(), next.message.begin(), middle);
    leftOver_.assign(middle, next.message.end());
  }
  return bytes;
}

bool RawPipeClient::endsSilently(std::chrono::milliseconds limit) {
  return read(limit).closed();
}

bool RawPipeClient::staysSilent(std::chrono::milliseconds quiet) {
  return read(quiet).timedOut();
}

}  // namespace orva_accelerator::test
