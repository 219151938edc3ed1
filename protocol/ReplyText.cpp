#include "protocol/ReplyText.h"

#include <memory>

namespace velto {
namespace {

namespace json = boost::json;

/// A list of alerts that has been replied, and how far it has been told.
class AlertList {
 public:
  AlertList(std::string_view name, std::optional<std::vector<VLAlert>> alerts,
            std::optional<Error> error, bool more)
      : name_(name), alerts_(std::move(alerts)), error_(std::move(error)), more_(more) {}

  std::optional<std::string> nextPiece() {
    if (done_) {
      return std::nullopt;
    }
    std::string text = "{";
    if (alerts_) {
      appendAlerts(text);
    }
    done_ = !alerts_ || next_ == alerts_->size();
    if (done_ && error_) {
      text += text.size() > 1 ? ",\"error\":" : "\"error\":";
      text += json::serialize(encode(*error_));
    }
    text += '}';
    return text;
  }

 private:
  void appendAlerts(std::string& text) {
    text += json::serialize(json::string(name_));
    text += ":[";
    const std::size_t first = next_;
    while (next_ < alerts_->size() && (!more_ || text.size() < kPieceSize)) {
      if (next_ > first) {
        text += ',';
      }
      text += json::serialize(encode((*alerts_)[next_]));
      ++next_;
    }
    text += ']';
  }

  const std::string_view name_;
  const std::optional<std::vector<VLAlert>> alerts_;
  const std::optional<Error> error_;
  const bool more_;
  std::size_t next_ = 0;
  bool done_ = false;
};

}  // namespace

ReplyPieces onePiece(json::object parameters) {
  return [text = std::optional(json::serialize(parameters))]() mutable {
    return std::exchange(text, std::nullopt);
  };
}

ReplyPieces replyText(const std::optional<Error>& error) {
  json::object parameters;
  if (error) {
    parameters.emplace("error", encode(*error));
  }
  return onePiece(std::move(parameters));
}

ReplyPieces replyText(std::string_view name, std::optional<std::vector<VLAlert>> alerts,
                      std::optional<Error> error, bool more) {
  return [list = std::make_shared<AlertList>(name, std::move(alerts), std::move(error), more)] {
    return list->nextPiece();
  };
}

}  // namespace velto
