// SPDX-License-Identifier: Apache-2.0
#include "protocol/ReplyText.h"

#include <memory>
#include <utility>

namespace velto {
namespace {

/// A list of alerts that has been replied, and how far it has been told.
class AlertList : public ReplyBody {
 public:
  AlertList(std::string_view name, AlertSequence alerts, std::optional<Error> error)
      : name_(name), alerts_(std::move(alerts)), error_(std::move(error)) {}

  void begin(std::string& text) override {
    text += '{';
    appendJSON(text, name_);
    text += ":[";
  }

  bool append(std::string& text) override {
    const std::size_t length = text.size() + kPieceSize;
    text.reserve(length + kPieceSize / 8);
    std::optional<Error> failure;
    const bool isMore = alerts_.appendElements(text, length, &failure);
    if (failure) setIfEmpty(&error_, *std::move(failure));
    return isMore;
  }

  void end(std::string& text, bool isLast) override {
    text += ']';
    if (isLast && error_) {
      text += ",\"error\":";
      appendJSON(text, *error_);
    }
    text += '}';
  }

 private:
  const std::string_view name_;
  AlertSequence alerts_;
  std::optional<Error> error_;
};

}  // namespace

CallReply replyWith(const std::optional<Error>& error) {
  std::string text;
  JSONObjectText parameters(text);
  parameters.add("error", error);
  parameters.end();
  return CallReply::parameters(text);
}

CallReply replyWith(std::string_view name, std::optional<AlertSequence> alerts,
                    std::optional<Error> error) {
  return alerts ? CallReply::parameters(
                      std::make_unique<AlertList>(name, *std::move(alerts), std::move(error)))
                : replyWith(error);
}

}  // namespace velto
