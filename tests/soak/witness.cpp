#include "tests/soak/witness.h"

#include "tests/soak/soak_session.h"

namespace orva_accelerator::test {

void Witness::stop() {
  leaving_ = true;
  if (thread_.joinable()) thread_.join();
}

bool Witness::seesAnswers(std::size_t more) const {
  const std::size_t answered = asked_ - unanswered_;
  return waitUntil([&] { return asked_ - unanswered_ >= answered + more; },
                   std::chrono::seconds(60));
}

void Witness::watch() {
  const client::Bytes heartbeat = frame(ipc::MsgHeartbeat);
  RawPipeClient kept;
  while (!leaving_) {
    RawPipeClient newcomer;
    for (RawPipeClient* const pipe : {&kept, &newcomer}) {
      const auto begun = std::chrono::steady_clock::now();
      if (!asksAndIsAnswered(*pipe, heartbeat)) {
        ++unanswered_;
        pipe->close();
      }
      ++asked_;
      const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(
          std::chrono::steady_clock::now() - begun);
      if (taken.count() > slowestMs_) slowestMs_ = taken.count();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace orva_accelerator::test
