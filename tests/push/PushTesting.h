// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/foundation/Clock.h"
#include "platform/push/PushErrors.h"
#include "platform/push/UlmoraPushServiceProvider.h"
#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/FakeClock.h"
#include "tests/support/PushGateway.h"
#include "tests/support/SkipOrFail.h"

namespace velto {

inline constexpr const char* kPreference = "ovix:com.ulmora.alerts";
inline constexpr const char* kIdentityFile = "/etc/velto/push/ovix:com.ulmora.alerts.plist";

/// What a thread was told, an entry a report: "error 7", or "410 gone".
struct Told {
  std::vector<std::string> reports;
  std::vector<Error> errors;
  std::vector<std::string> refused;  ///< devices, one for each status
};

/// A provider in a system of its own.
class PushTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!PushGateway::isAvailable()) {
      return skipOrFail("node and openssl are needed");
    }
    environment_.set("VELTO_ROOT", root_.path().string());
    for (const char* name : {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
      environment_.set(name, std::nullopt);
    }
  }

  /// The identity file; further entries as the text of a dictionary.
  void setIdentity(const std::string& endpoint, const std::string& more = "") const {
    std::filesystem::remove(root_.path() / std::string(kIdentityFile).substr(1));
    const auto path = root_.write(std::string(kIdentityFile).substr(1),
                                  "{ Endpoint = \"" + endpoint + "\"; " + more + " }");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  }
  /// The same with what it takes to be believed by the test's gateways, and to believe them.
  void setIdentity(const PushGateway& gateway) const {
    setFile("ca.pem", "ca.pem");
    setFile("client.pem", "client.pem");
    setFile("client.key", "client.key");
    setIdentity(gateway.endpoint(),
                "CertificateAuthority = \"/pki/ca.pem\"; Certificate = \"/pki/client.pem\"; "
                "PrivateKey = \"/pki/client.key\";");
  }

  /// A file below /pki with the content of one of the test's certificates.
  void setFile(const std::string& name, const std::string& content) const {
    const auto path = root_.write("pki/" + name, readFile(testCertificates() / content));
    std::filesystem::permissions(path, std::filesystem::perms(0600));
  }

  UlmoraPushServiceProvider& provider() {
    if (provider_ == nullptr) {
      provider_ = std::make_unique<UlmoraPushServiceProvider>(kPreference, limits_, clock_);
    }
    return *provider_;
  }

  /// Sends a notification to each device, as the pusher does.
  Told send(const std::vector<std::string>& devices) {
    Told told;
    provider().setErrorHandler([&](const Error& error) {
      told.reports.push_back("error " + std::to_string(error.code));
      told.errors.push_back(error);
    });
    provider().setErrorResponseHandler(
        [&](std::uint64_t status, const Data& response, const Data& device) {
          told.refused.emplace_back(device.view());
          told.reports.push_back(std::to_string(status) + " " + std::string(response.view()));
        });
    for (const std::string& text : devices) {
      provider().sendPushNotification(Data("{}"), device(text), Data("\1\2\3\4"),
                                      Date(clock_.now().secondsSinceReference() + 60));
    }
    provider().setErrorHandler({});
    provider().setErrorResponseHandler({});
    return told;
  }

  /// How often each device's notification came to the gateway.
  static std::map<std::string, int> arrivals(PushGateway& gateway) {
    std::map<std::string, int> counts;
    for (const auto& request : gateway.requests()) {
      ++counts[std::string(request.at("device").as_string())];
    }
    return counts;
  }

  ScopedEnvironment environment_;
  TemporaryDirectory root_;
  FakeClock clock_;
  PushTimeLimits limits_;
  std::unique_ptr<UlmoraPushServiceProvider> provider_;
};

/// "<word> 0" to "<word> <count - 1>".
inline std::vector<std::string> devices(const std::string& word, int count) {
  std::vector<std::string> names;
  for (int index = 0; index < count; ++index) {
    names.push_back(word + " " + std::to_string(index));
  }
  return names;
}

}  // namespace velto
