#include "ipc/push_pipe.h"

#include <utility>

namespace orva_accelerator::ipc {

PushPipe::PushPipe(win32::UniqueFileHandle pipe) : handle_(std::move(pipe)) {}

void PushPipe::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  turn_.notify_all();
  if (writers_ == 0) handle_.reset();
}

void PushPipe::abandon() {
  const std::lock_guard lock(mutex_);
  // Deliberately nobody's.
  (void)handle_.release();
}

PushPipe::Writer::Writer(PushPipe& pipe, WatchedThread& watched) : pipe_(pipe) {
  std::unique_lock lock(pipe_.mutex_);
  ++pipe_.writers_;
  const auto isOver = [this] { return pipe_.closed_ || pipe_.failed_; };
  if (pipe_.taken_ && !isOver()) {
    watched.waitFor(pipe_);
    pipe_.turn_.wait(lock, [&] { return !pipe_.taken_ || isOver(); });
  }
  if (isOver()) return;
  handle_ = pipe_.handle_.get();
  pipe_.taken_ = handle_ != INVALID_HANDLE_VALUE;
}

PushPipe::Writer::~Writer() {
  const std::lock_guard lock(pipe_.mutex_);
  if (handle_ != INVALID_HANDLE_VALUE) {
    pipe_.taken_ = false;
    pipe_.turn_.notify_one();
  }
  if (--pipe_.writers_ == 0 && pipe_.closed_) pipe_.handle_.reset();
}

void PushPipe::Writer::fail() {
  const std::lock_guard lock(pipe_.mutex_);
  pipe_.failed_ = true;
  pipe_.turn_.notify_all();
}

}  // namespace orva_accelerator::ipc
