// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tools/frame/Session.h"
#include "tools/transfer/ExportLine.h"

namespace velto {

/// What was imported so far.
struct ImportCounts {
  std::int64_t alerts = 0;
  std::int64_t known = 0;     ///< alerts that were there already, and left alone
  std::int64_t settings = 0;  ///< lines of other kinds
};

/// Gathers what goes into one call, and makes it when it is large enough. Throws a Failure when the
/// daemon does not take it. One thread.
class ImportBatch {
 public:
  explicit ImportBatch(Session& session);

  /// `size` is that of the line, in bytes.
  void add(ExportLine line, std::size_t size);
  /// Sends what is left.
  void finish();
  const ImportCounts& counts() const { return counts_; }

 private:
  void addOne(alerts::Alert alert);
  void addOne(ExportHead) {}
  void addOne(ExportedAttributes attributes);
  void addOne(alerts::BundleSettings settings);
  void addOne(alerts::MailRecipient recipient);
  void addOne(alerts::PushRecipient recipient);
  bool isKnown(const alerts::Alert& alert);
  void send();

  Session& session_;
  bool isStoreEmpty_;
  std::vector<alerts::Alert> alerts_;
  std::size_t size_ = 0;  ///< of their lines
  ImportCounts counts_;
};

}  // namespace velto
