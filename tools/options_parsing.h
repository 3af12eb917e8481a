// Options that several commands share.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>
#include <string>

#include "client/node_selection.h"
#include "client/requests.h"
#include "tools/duration.h"

namespace orva_accelerator::tools {

inline CLI::Option* addDuration(CLI::App& app, const std::string& name,
                                std::chrono::milliseconds& target,
                                std::chrono::milliseconds bareUnit, const std::string& help) {
  const auto parse = [&target, bareUnit](const std::string& text) {
    const auto duration = parseDuration(text, bareUnit);
    if (!duration) {
      throw CLI::ValidationError("'" + text + "' is no duration (such as 500ms or 2.5s)");
    }
    target = *duration;
  };
  return app.add_option_function<std::string>(name, parse, help)->type_name("TIME");
}

inline void addChannelOptions(CLI::App& app, client::InitRequest& request) {
  app.add_option("--channel-id", request.channelId, "First channel number")->capture_default_str();
  app.add_option("--channel-number", request.channelNumber, "Second channel number")
      ->capture_default_str();
  app.add_option("--channel-name", request.channelName, "Channel name");
}

inline void addStartOptions(CLI::App& app, client::StartRequest& request) {
  app.add_option("--arg1", request.startArg1, "startArg1")->capture_default_str();
  app.add_option("--arg2", request.startArg2, "startArg2")->capture_default_str();
  app.add_option("--arg3", request.startArg3, "startArg3")->capture_default_str();
  app.add_option("--text", request.startText, "startText");
  // A selection that is not one would end the service for everybody.
  const auto check = [](const std::string& text) {
    return client::isSafeNodeSelection(text)
               ? std::string()
               : "'" + text + "' is neither auto nor numbers separated by ';'";
  };
  app.add_option("--nodes", request.nodeSelection,
                 "nodeSelection: empty, auto, or numbers separated by ';'")
      ->check(check);
}

}  // namespace orva_accelerator::tools
