// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/connection/PendingReply.h"

namespace velto {

/// An object that a connection exports. The protocol's method rows cast it to the protocol's class.
class ExportedObject {
 public:
  virtual ~ExportedObject() = default;
};

/// A class of values that a white-list can admit. A protocol numbers its own, from 0 to 31.
enum class ArgumentClass : std::uint8_t {};

/// A white-list: the classes admitted for a collection argument and its elements. A value.
class ArgumentClasses {
 public:
  constexpr ArgumentClasses(std::initializer_list<ArgumentClass> classes) {
    for (const ArgumentClass each : classes) {
      bits_ |= bitOf(each);
    }
  }

  constexpr bool contains(ArgumentClass wanted) const { return (bits_ & bitOf(wanted)) != 0; }
  bool operator==(const ArgumentClasses&) const = default;

 private:
  static constexpr std::uint32_t bitOf(ArgumentClass one) {
    return std::uint32_t{1} << static_cast<unsigned>(one);
  }

  std::uint32_t bits_ = 0;
};

/// One call, decoded no further than its parameters.
struct Invocation {
  ExportedObject& object;
  std::string_view parameters;  ///< the JSON text of an object, valid until the invocation returns
  /// The white-list of the method's first argument, or null when none is set.
  const ArgumentClasses* classes;
  /// Whether the caller takes the reply in pieces, as they come.
  bool more = false;
};

/// How long a method takes.
enum class Pace : std::uint8_t {
  kQuick,  ///< only ever a moment. Replies to the calls before it may wait for its own, to be sent
           ///< together
  kUsual,
  kWaits,  ///< as long as a child process or a gateway does: it needs a WaitingPlace
};

/// One method of a protocol: a row of its table.
struct ProtocolMethod {
  /// Full, with argument labels: "postAlert:callback:"; empty where no white-list is ever set.
  std::string_view selector;
  std::string_view wireName;  ///< "PostAlert"
  /// Checks the parameters' shape, calls the object and keeps the promise, then or later. Called on
  /// the thread that delivers the call; only the object may be used after it has returned. What it
  /// throws ends the connection.
  std::function<void(const Invocation&, ReplyPromise)> invoke;
  Pace pace = Pace::kUsual;
};

/// A protocol as clients see it. Immutable, made once by the protocol's own folder.
struct Protocol {
  std::string_view name;         ///< the wire interface's name
  std::string_view description;  ///< the interface file's text as it stands
  std::string_view product;      ///< what offers it, and that product's version, for people
  std::string_view version;
  std::vector<ProtocolMethod> methods;
};

/// What connections export: the table of the methods of one or several protocols, each with the
/// white-list of its first argument. Set up once and then shared by all connections; any thread as
/// long as nobody changes it.
class Interface {
 public:
  struct Row {
    const ProtocolMethod* method;
    const Protocol* protocol;
    std::size_t object;  ///< which of the connection's objects it is for
    std::optional<ArgumentClasses> classes = std::nullopt;  ///< none when none is set
  };

  /// `protocol` must outlive the interface.
  static Interface interfaceWithProtocol(const Protocol& protocol);
  /// Adds the methods of another protocol, which has another name and must outlive the interface.
  void addProtocol(const Protocol& protocol);

  /// Sets the classes admitted for an argument of the method with this selector. Only the first
  /// argument of a call can have some: a selector that does not exist, another argument, or a
  /// reply's would be a white-list that nobody applies, and ends the process.
  void setClasses(ArgumentClasses classes, std::string_view selector, std::size_t argumentIndex,
                  bool ofReply);

  /// The row of the method with this full wire name ("com.example.Interface.Method"), or null.
  const Row* row(std::string_view fullName) const;

  /// In the order in which they were added; the first one tells of the product.
  const std::vector<const Protocol*>& protocols() const { return protocols_; }
  /// The one of this name, or null.
  const Protocol* protocol(std::string_view name) const;

 private:
  Interface() = default;

  std::vector<const Protocol*> protocols_;
  std::map<std::string, Row, std::less<>> rows_;  ///< by full wire name
};

}  // namespace velto
