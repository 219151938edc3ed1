#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <boost/json/fwd.hpp>

namespace velto {

/// An object that a connection exports. The protocol's method rows cast it to the protocol's class.
class ExportedObject {
 public:
  virtual ~ExportedObject() = default;
};

/// The classes that a white-list can admit for a collection argument and its elements.
enum class ArgumentClass { kVLAlert, kString, kDictionary, kArray };

/// Appends the next part of a reply's parameters to a text, and tells whether another one follows.
/// For a call that asked for `more`, each part is a JSON object, which becomes a message of its
/// own; otherwise the parts together are one object. A part is written when the client has taken
/// those before it, so that a client that reads slowly costs the memory of one. Called while the
/// object still exists, but after the invocation and its parameters are gone.
using ReplyWriter = std::function<bool(std::string& text)>;

/// What came of handing a call to the exported object.
struct InvocationResult {
  enum class Kind {
    kReplied,
    kInvalidParameter,  ///< the object was not called; `parameter` names the one at fault
    kNotImplemented,    ///< the object does not offer the operation
  };

  Kind kind = Kind::kReplied;
  std::string parameter;
  ReplyWriter reply;  ///< set when it has replied
};

/// Takes what came of a call, once: before `invoke` returns, or later on any thread. Throws
/// nothing.
using ResultHandler = std::function<void(InvocationResult)>;

/// One call, decoded no further than its parameters.
struct Invocation {
  ExportedObject& object;
  const boost::json::object& parameters;
  /// The white-list of the method's first argument, or null when none is set.
  const std::set<ArgumentClass>* classes;
  /// Whether the caller takes the reply in pieces.
  bool more;
};

/// One method of a protocol: a row of its table.
struct ProtocolMethod {
  std::string_view selector;  ///< full, with argument labels: "postAlert:callback:"
  std::string_view wireName;  ///< "PostAlert"
  /// Checks the parameters' shape, calls the object and gives its reply to the handler. Called on
  /// the thread that delivers the call; only the object may be used after it has returned. What it
  /// throws ends the connection, and the handler is not called any more.
  std::function<void(const Invocation&, ResultHandler)> invoke;
  /// Whether it only ever takes a moment. Replies to the calls before it may wait for its own then,
  /// to be sent together.
  bool isQuick = false;
};

/// A protocol as clients see it. Immutable, made once by the protocol's own folder.
struct Protocol {
  std::string_view name;         ///< the wire interface's name
  std::string_view description;  ///< the interface file's text as it stands
  std::vector<ProtocolMethod> methods;
};

/// What one connection exports: a protocol, and the classes admitted for its collection arguments.
/// Set up before the connection is resumed and not changed afterwards.
class Interface {
 public:
  /// `protocol` must outlive the listener that serves it.
  static Interface interfaceWithProtocol(const Protocol& protocol) { return Interface(protocol); }

  /// Sets the classes admitted for an argument of the method with this selector. Only incoming
  /// arguments (`ofReply` false) are checked by this connection layer.
  void setClasses(std::set<ArgumentClass> classes, std::string_view selector,
                  std::size_t argumentIndex, bool ofReply) {
    classes_.insert_or_assign({std::string(selector), argumentIndex, ofReply}, std::move(classes));
  }

  /// The classes set for an incoming argument, or null.
  const std::set<ArgumentClass>* classes(std::string_view selector,
                                         std::size_t argumentIndex) const {
    const auto found = classes_.find(Key{std::string(selector), argumentIndex, false});
    return found == classes_.end() ? nullptr : &found->second;
  }

  const Protocol& protocol() const { return *protocol_; }

 private:
  using Key = std::tuple<std::string, std::size_t, bool>;

  explicit Interface(const Protocol& protocol) : protocol_(&protocol) {}

  const Protocol* protocol_;
  std::map<Key, std::set<ArgumentClass>> classes_;
};

}  // namespace velto
