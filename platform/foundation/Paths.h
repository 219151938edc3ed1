// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// The name of the service and of its wire interface.
inline constexpr std::string_view VLAlertsXPCServiceName = "com.ulmora.velto.AlertsDaemon";

/// The directory that alert bundles are installed in.
inline constexpr std::string_view VLAlertsDirectory = "/usr/lib/velto/alert-bundles";

inline constexpr std::string_view kStoreDirectory = "/Library/Velto/Alerts";
inline constexpr std::string_view kServiceSocketDirectory = "/run/velto";
inline constexpr std::string_view kEventsServiceSocket = "/run/velto/com.ulmora.velto.EventsDaemon";
inline constexpr std::string_view kPushIdentityDirectory = "/etc/velto/push";
inline constexpr std::string_view kMailProgram = "/usr/sbin/sendmail";

/// Where rules of entitlements are, those of the administrator before those of packages.
inline constexpr std::string_view kEntitlementDirectories[] = {"/etc/velto/entitlements.d",
                                                               "/usr/lib/velto/entitlements.d"};

/// The entitlement that limits a caller to the bundles it names.
inline constexpr std::string_view kBundleEntitlement = "com.ulmora.velto.alert-bundles";

/// `path` (absolute) looked up below the directory that the environment variable VELTO_ROOT names,
/// so that a whole system can stand in a folder; unset or empty, the path as it is. Any thread, as
/// long as nobody changes the environment.
std::string rootedPath(std::string_view path);

/// Whether VELTO_ROOT names a private system.
bool isPrivateSystem();

/// The directory of the running program's resources: ../share/velto/alerts beside its executable,
/// or where there is none, share/velto/alerts of the next folder above that has it, so that the
/// program may be installed in a folder of its own (/usr/libexec/velto). The first of these when
/// there is none anywhere.
std::string resourceDirectory();

}  // namespace velto
