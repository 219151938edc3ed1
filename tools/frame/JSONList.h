// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include <boost/json/value.hpp>

#include "tools/frame/Session.h"

namespace velto {

/// Writes a JSON document with one member, a list of any length, as its elements come. The
/// destructor ends it, so that what is written is JSON also when the list breaks off. One thread.
class JSONList {
 public:
  JSONList(Session& session, std::string_view name);
  ~JSONList();
  JSONList(const JSONList&) = delete;
  JSONList& operator=(const JSONList&) = delete;

  void add(const boost::json::value& element);

 private:
  Session& session_;
  bool isEmpty_ = true;
};

}  // namespace velto
