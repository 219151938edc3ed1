// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/CallReply.h"

#include <utility>

#include "platform/foundation/JSONText.h"

namespace velto {
namespace {

constexpr std::string_view kBeforeParameters = R"({"parameters":)";
constexpr std::string_view kAfterPiece = R"(,"continues":true})";

}  // namespace

CallReply CallReply::lost() {
  CallReply reply;
  reply.kind_ = Kind::kLost;
  return reply;
}

CallReply CallReply::parameters(std::string_view object) {
  CallReply reply;
  reply.kind_ = Kind::kMessage;
  reply.text_.reserve(kBeforeParameters.size() + object.size() + 1);
  reply.text_.append(kBeforeParameters).append(object) += '}';
  return reply;
}

CallReply CallReply::parameters(std::unique_ptr<ReplyBody> body) {
  CallReply reply;
  reply.kind_ = Kind::kParts;
  reply.body_ = std::move(body);
  return reply;
}

CallReply CallReply::stream(std::unique_ptr<ReplyStream> stream) {
  CallReply reply;
  reply.kind_ = Kind::kStream;
  reply.stream_ = std::move(stream);
  return reply;
}

CallReply CallReply::error(std::string_view name, std::string_view parameter,
                           std::string_view value) {
  CallReply reply;
  reply.kind_ = Kind::kMessage;
  JSONObjectText message(reply.text_);
  message.add("error", name);
  message.beginMember("parameters");
  JSONObjectText parameters(reply.text_);
  if (!parameter.empty()) parameters.add(parameter, value);
  parameters.end();
  message.end();
  return reply;
}

CallReply CallReply::invalidParameter(std::string_view path) {
  return error("org.varlink.service.InvalidParameter", "parameter", path);
}

bool CallReply::writeNext(std::string& output, bool more) {
  if (kind_ == Kind::kStream) return writeStream(output);
  if (kind_ == Kind::kMessage) {
    output.append(text_) += '\0';
    clear();
  } else if (kind_ == Kind::kParts) {
    writePart(output, more);
  }
  return true;
}

void CallReply::writePart(std::string& output, bool more) {
  if (!isWithinMessage_) {
    output.append(kBeforeParameters);
    body_->begin(output);
  }
  const bool continues = body_->append(output);
  isWithinMessage_ = continues && !more;
  if (!isWithinMessage_) {
    body_->end(output, !continues);
    output.append(continues ? kAfterPiece : "}") += '\0';
  }
  if (!continues) clear();
}

bool CallReply::writeStream(std::string& output) {
  const std::size_t before = output.size();
  if (!isWithinMessage_) output.append(kBeforeParameters);
  const ReplyStream::Part part = stream_->append(output);
  if (part == ReplyStream::Part::kNone) {
    output.resize(before);
    return false;
  }
  isWithinMessage_ = part == ReplyStream::Part::kMore;
  if (!isWithinMessage_) output.append(kAfterPiece) += '\0';
  return true;
}

void CallReply::clear() {
  kind_ = Kind::kNotOffered;
  std::string().swap(text_);  // an assignment would keep the memory of a long message
  body_.reset();
}

}  // namespace velto
