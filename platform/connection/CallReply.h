// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/connection/ReplyStream.h"

namespace velto {

/// The parameters of a reply that is too long to be written at once: a JSON object, in parts. The
/// connection decides how many parts make an object: one when the caller takes the reply in pieces,
/// or all. A part is written when the client has taken those before it, so that a client that reads
/// slowly costs the memory of one. Used while the exported object still exists, but after the call
/// and its parameters are gone. One thread at a time.
class ReplyBody {
 public:
  virtual ~ReplyBody() = default;

  /// Appends the beginning of an object.
  virtual void begin(std::string& text) = 0;
  /// Appends the next part of its content; true when another part follows.
  virtual bool append(std::string& text) = 0;
  /// Appends the end of the object, which is the last one unless another part follows.
  virtual void end(std::string& text, bool isLast) = 0;
};

/// What a call is answered with, from the operation that makes it to the socket: parameters, whole,
/// in parts or without an end, or one of Varlink's errors. It also stands for the two ways in which
/// there is no answer. A value that moves; one thread at a time.
class CallReply {
 public:
  enum class Kind : std::uint8_t {
    kNotOffered,  ///< the object has let go of the call: it does not offer the method
    kLost,        ///< the answer could not be made
    kMessage,     ///< `text` is the message
    kParts,
    kStream,  ///< without an end
  };

  /// One that is not offered.
  CallReply() = default;
  static CallReply lost();
  /// `object` is the JSON text of the parameters.
  static CallReply parameters(std::string_view object);
  static CallReply parameters(std::unique_ptr<ReplyBody> body);
  /// For a caller that takes the reply in pieces.
  static CallReply stream(std::unique_ptr<ReplyStream> stream);
  /// An error with one parameter, a string, or none when the parameter's name is empty.
  static CallReply error(std::string_view name, std::string_view parameter, std::string_view value);
  /// org.varlink.service.InvalidParameter: the parameter is unknown, or not of its type.
  static CallReply invalidParameter(std::string_view path);

  Kind kind() const { return kind_; }
  /// The whole message, without its NUL.
  const std::string& text() const { return text_; }
  /// Who is to be told when a stream has something to tell.
  void setListener(ReplyStream::Listener& listener) {
    if (stream_ != nullptr) stream_->setListener(listener);
  }

  /// Whether there is nothing left to write.
  bool isWritten() const { return kind_ == Kind::kNotOffered || kind_ == Kind::kLost; }
  /// Appends the next part, with what makes messages of the parts, each ended by its NUL. `more`
  /// tells that the caller takes each part as a message of its own. False when it is a stream that
  /// has nothing to tell yet.
  bool writeNext(std::string& output, bool more);

 private:
  void writePart(std::string& output, bool more);
  bool writeStream(std::string& output);
  void clear();

  Kind kind_ = Kind::kNotOffered;
  bool isWithinMessage_ = false;
  std::string text_;
  std::unique_ptr<ReplyBody> body_;
  std::unique_ptr<ReplyStream> stream_;
};

}  // namespace velto
