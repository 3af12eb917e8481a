#include "tests/handlers/storm_client.h"

#include "ipc/wire/messages.h"
#include "ipc/wire/requests.h"

namespace orva_accelerator::test {
namespace {

using Clock = std::chrono::steady_clock;

// How long a reader may take to notice that it shall end.
constexpr std::chrono::milliseconds kReaderLooksUp{20};

}  // namespace

ListeningConnection::ListeningConnection(const RunningServer& server, std::uint32_t clientId)
    : connection_(server, clientId), reader_([this] {
        while (!ending_) {
          const PipeOutcome next = connection_.pipe().read(kReaderLooksUp);
          if (next.done()) {
            ledger_.add(next.message);
          } else if (!next.timedOut()) {
            closed_ = true;
            return;
          }
        }
      }) {}

ListeningConnection::~ListeningConnection() {
  ending_ = true;
  reader_.join();
}

StormClient::StormClient(const RunningServer& server, std::uint32_t id, unsigned seed,
                         std::chrono::milliseconds restless)
    : server_(server), id_(id), random_(seed), restless_(restless) {
  comeBack();
}

void StormClient::comeBack() {
  if (!requests_) requests_ = std::make_unique<RequestConnection>(server_);
  if (listener_ && listener_->isClosed()) settleAccounts();
  if (!listener_) listener_ = std::make_unique<ListeningConnection>(server_, id_);
}

void StormClient::storm(Clock::time_point until) {
  nextDeparture_ = Clock::now() + restless_ * (roll(100) + 1) / 100;
  while (Clock::now() < until && violation_.empty()) {
    comeBack();
    const bool mayDepart = Clock::now() >= nextDeparture_;
    switch (roll(mayDepart ? 12 : 9)) {
      case 0:
      case 1:
      case 2:
        ask(ipc::MsgStartAccel, 1);
        break;
      case 3:
      case 4:
        ask(ipc::MsgStartAccelEx, 1);
        break;
      case 5:
      case 6:
        ask(ipc::MsgStopAccel, 1);
        break;
      case 7:
        ask(ipc::MsgQueryAccelOwner, 2);
        break;
      case 8:
        ask(ipc::MsgHeartbeat, 4);
        break;
      case 9:
        leave();
        break;
      case 10:
        vanish();
        break;
      default:
        settleAccounts();  // Registers again from a new connection.
        listener_ = std::make_unique<ListeningConnection>(server_, id_);
        break;
    }
    if (Clock::now() >= nextDeparture_) nextDeparture_ = Clock::now() + restless_;
  }
  comeBack();
}

void StormClient::ask(std::uint32_t type, std::size_t answerSize) {
  Bytes payload;
  if (type == ipc::MsgStartAccel) payload.resize(sizeof(ipc::StartAccelRequest));
  if (type == ipc::MsgStartAccelEx) payload.resize(sizeof(ipc::StartAccelExRequest));
  const auto answer = requests_->ask(id_, type, payload);
  ++requestCount_;
  if (answer && answer->size() == answerSize) return;
  violation_ = "client " + std::to_string(id_) + " got no proper answer to " + std::to_string(type);
}

void StormClient::leave() {
  ask(ipc::MsgClientLeaving, 8);
  settleAccounts();
}

void StormClient::vanish() {
  settleAccounts();
  if (roll(2) == 0) requests_.reset();
}

// Gives up the push connection and looks at what has come over it. A connection that ends may have
// lost the payload of its last headers.
void StormClient::settleAccounts() {
  if (!listener_) return;
  if (violation_.empty()) violation_ = listener_->ledger().violation();
  listener_.reset();
}

}  // namespace orva_accelerator::test
