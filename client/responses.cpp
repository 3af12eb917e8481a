#include "client/responses.h"

#include <string>

namespace orva_accelerator::client {

Error malformedAnswer(ByteView payload) {
  if (payload.empty()) {
    return Error{ErrorKind::Refused, "read the answer", 0,
                 "the service gave an empty answer, as it does to a request that it does not know"};
  }
  return Error{
      ErrorKind::Protocol, "decode the answer", 0,
      "its " + std::to_string(payload.size()) + " bytes are not what its own lengths announce"};
}

template <>
Result<Answer<orva_used_nodes>> decodeAnswer(ByteView payload) {
  const auto head = frontRecord<ipc::UsedNodeListResponse>(payload);
  if (!head || head->count > payload.size() / sizeof(ipc::UsedNodeBlock)) {
    return malformedAnswer(payload);
  }
  const std::size_t count = head->count;
  AnswerBlock block(sizeof(orva_used_nodes) + count * sizeof(orva_used_node),
                    count * countTexts<orva_used_node>(), payload.size());
  auto* const list = block.make<orva_used_nodes>();
  auto* const nodes = block.make<orva_used_node>(count);
  ByteView rest = payload;
  bool whole = fillRecord(block, *list, rest);
  for (std::size_t i = 0; whole && i < count; ++i) whole = fillRecord(block, nodes[i], rest);
  if (!whole || !rest.empty()) return malformedAnswer(payload);
  list->count = count;
  list->nodes = nodes;
  return block.Release(list);
}

}  // namespace orva_accelerator::client
