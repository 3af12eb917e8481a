// An initialised library, for the handlers' queries to ask.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "tests/handlers/dispatched_request.h"
#include "tests/support/initialised_kernel.h"
#include "tests/support/scripted_game.h"

namespace orva_accelerator::test {

inline const GoldenVector& goldenResponse(std::string_view name) {
  return goldenVector("responses.json", name);
}

inline std::string hexAt(const Bytes& bytes, std::size_t offset, std::size_t count) {
  return hexFromBytes(std::span(bytes).subspan(offset, count));
}

class QueryTest : public testing::Test {
 protected:
  InitialisedKernel kernel;
};

// The library knows one game; a test changes what it knows of it.
class GameQueryTest : public QueryTest {
 protected:
  GameQueryTest() { answerForGame(kernel, game); }

  const std::shared_ptr<ScriptedGame> game = std::make_shared<ScriptedGame>();
};

}  // namespace orva_accelerator::test
