#include "protocol/ReplyText.h"

#include <memory>

namespace velto {
namespace {

/// A list of alerts that has been replied, and how far it has been told.
class AlertList {
 public:
  AlertList(std::string_view name, std::optional<AlertSequence> alerts, std::optional<Error> error,
            bool more)
      : name_(name), alerts_(std::move(alerts)), error_(std::move(error)), more_(more) {}

  /// Appends the next piece; true when another follows.
  bool write(std::string& text) {
    JSONObjectText parameters(text);
    if (alerts_) {
      parameters.beginMember(name_);
      appendAlerts(text);
    }
    const bool isDone = !alerts_ || current() == nullptr;
    if (isDone) {
      parameters.add("error", error_);
    }
    parameters.end();
    return !isDone;
  }

 private:
  void appendAlerts(std::string& text) {
    const std::size_t start = text.size();
    text += '[';
    const VLAlert* alert = current();
    while (alert != nullptr && (!more_ || text.size() - start < kPieceSize)) {
      if (text.back() != '[') {
        text += ',';
      }
      appendJSON(text, *alert);
      alerts_->advance();
      alert = current();
    }
    text += ']';
  }

  /// An error on the way ends the list.
  const VLAlert* current() {
    std::optional<Error> failure;
    const VLAlert* alert = alerts_->current(&failure);
    if (failure && !error_) {
      error_ = std::move(failure);
    }
    return alert;
  }

  const std::string_view name_;
  std::optional<AlertSequence> alerts_;
  std::optional<Error> error_;
  const bool more_;
};

}  // namespace

ReplyWriter finished(std::string text) {
  return [text = std::move(text)](std::string& output) {
    output += text;
    return false;
  };
}

ReplyWriter replyText(const std::optional<Error>& error) {
  std::string text;
  JSONObjectText parameters(text);
  parameters.add("error", error);
  parameters.end();
  return finished(std::move(text));
}

ReplyWriter replyText(std::string_view name, std::optional<AlertSequence> alerts,
                      std::optional<Error> error, bool more) {
  return [list = std::make_shared<AlertList>(name, std::move(alerts), std::move(error), more)](
             std::string& text) { return list->write(text); };
}

}  // namespace velto
