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

  /// Appends the next part; true when another follows.
  bool write(std::string& text) {
    if (!isWithinObject_) {
      begin(text);
    }
    if (alerts_) {
      appendAlerts(text);
    }
    const bool isDone = !alerts_ || current() == nullptr;
    isWithinObject_ = !isDone && !more_;
    if (!isWithinObject_) {
      end(text, isDone);
    }
    return !isDone;
  }

 private:
  void begin(std::string& text) {
    text += '{';
    if (alerts_) {
      appendJSONString(text, name_);
      text += ":[";
    }
    isFirst_ = true;
  }

  void appendAlerts(std::string& text) {
    const std::size_t end = text.size() + kPieceSize;
    text.reserve(end + kPieceSize / 8);
    while (const VLAlert* alert = text.size() < end ? current() : nullptr) {
      if (!isFirst_) {
        text += ',';
      }
      isFirst_ = false;
      appendJSON(text, *alert);
      alerts_->advance();
    }
  }

  void end(std::string& text, bool isLast) {
    if (alerts_) {
      text += ']';
    }
    if (isLast && error_) {
      text += alerts_ ? ",\"error\":" : "\"error\":";
      appendJSON(text, *error_);
    }
    text += '}';
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
  bool isWithinObject_ = false;
  bool isFirst_ = true;  ///< the next alert, in its array
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
