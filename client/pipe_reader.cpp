#include "client/pipe_reader.h"

#include <array>
#include <utility>

#include "win32/unique_handle.h"

namespace orva_accelerator::client {
namespace {

// The service's pipe buffer; most notifications are a few dozen bytes.
constexpr std::size_t kReadAtOnce = 8192;

}  // namespace

struct PipeReader::Reading {
  MessagePipe pipe;
  win32::UniqueKernelHandle ended;  // Manual reset; the system resets it at every start.
  OVERLAPPED operation{};
  bool pending = false;        // The system has, or has had, something to tell of this read.
  DWORD code = ERROR_SUCCESS;  // How the read ended, or ERROR_IO_PENDING.
  std::array<std::uint8_t, kReadAtOnce> buffer{};

  void begin() {
    operation = OVERLAPPED{};
    operation.hEvent = ended.get();
    pending = true;
    const BOOL read = ReadFile(pipe.handle(), buffer.data(), static_cast<DWORD>(buffer.size()),
                               nullptr, &operation);
    code = read ? ERROR_SUCCESS : GetLastError();
    if (code == ERROR_IO_PENDING) return;
    // For a read that was never begun the system keeps no result: nobody may wait for it.
    pending = code == ERROR_SUCCESS || code == ERROR_MORE_DATA;
    // Fails for no event that is ours.
    (void)SetEvent(ended.get());
  }

  // The bytes of a read that has ended, and in `code` how.
  std::size_t finish() {
    if (!pending) return 0;
    DWORD length = 0;
    const BOOL whole = GetOverlappedResult(pipe.handle(), &operation, &length, TRUE);
    code = whole ? ERROR_SUCCESS : GetLastError();
    return length;
  }
};

void PipeReader::End::operator()(Reading* reading) const noexcept {
  if (reading->pending) {
    // Fails if the read has ended meanwhile.
    (void)CancelIoEx(reading->pipe.handle(), &reading->operation);
    // Its memory goes now. How it ended is of no interest any more.
    (void)reading->finish();
  }
  delete reading;
}

Result<PipeReader> PipeReader::start(MessagePipe pipe) {
  win32::UniqueKernelHandle ended(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!ended) {
    const DWORD code = GetLastError();
    return Error{ErrorKind::System, "create an event", code, "the system refused it"};
  }
  std::unique_ptr<Reading, End> reading(new Reading{std::move(pipe), std::move(ended)});
  reading->begin();
  return PipeReader(std::move(reading));
}

HANDLE PipeReader::readable() const noexcept {
  return reading_->ended.get();
}

Result<bool> PipeReader::take(Bytes& message, const Deadline& deadline, const char* step,
                              HANDLE interrupt) {
  for (;;) {
    if (reading_->code == ERROR_IO_PENDING) {
      const HANDLE events[] = {reading_->ended.get(), interrupt};
      const DWORD waited = WaitForMultipleObjects(interrupt == nullptr ? 1 : 2, events, FALSE,
                                                  deadline.remainingMs());
      if (waited == WAIT_FAILED) {
        const DWORD code = GetLastError();
        return pipeError(step, code);
      }
      if (waited == WAIT_TIMEOUT) return waitEnded(step, ErrorKind::Timeout);
      if (waited != WAIT_OBJECT_0) return waitEnded(step, ErrorKind::Interrupted);
    }
    const std::size_t length = reading_->finish();
    // The system ends the reads of a thread that ends.
    if (reading_->code == ERROR_OPERATION_ABORTED) {
      reading_->begin();
      continue;
    }
    const bool more = reading_->code == ERROR_MORE_DATA;
    if (!more && reading_->code != ERROR_SUCCESS) {
      reading_->pending = false;
      return pipeError(step, reading_->code);
    }
    message.insert(message.end(), reading_->buffer.begin(), reading_->buffer.begin() + length);
    reading_->begin();
    return more;
  }
}

}  // namespace orva_accelerator::client
