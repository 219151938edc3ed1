// The alert records of ADAlertStore.

#include <utility>

#include "store/ADAlertAdditions.h"
#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

FetchRequest newestFirst(std::string_view format, const std::optional<std::string>& key) {
  FetchRequest request{std::string(ADAlert::kEntityName)};
  request.setSortDescriptors({{.key = "sentDate", .ascending = false}});
  request.setPredicate(Predicate::withFormat(format, {predicateValue(key)}));
  return request;
}

std::vector<VLAlert> listing(ManagedObjectContext& context, const FetchRequest& request,
                             ErrorSlot error) {
  const auto records = context.executeFetchRequest<ADAlert>(request, error);
  std::vector<VLAlert> alerts;
  // The slot decides, also with an error that was in it before.
  if (!records || (error != nullptr && error->has_value())) {
    return alerts;
  }
  alerts.reserve(records->size());
  for (const ADAlert& record : *records) {
    alerts.push_back(initWithADAlert(record));
  }
  return alerts;
}

std::optional<VLAlert> newest(ManagedObjectContext& context, FetchRequest request,
                              ErrorSlot error) {
  request.setFetchLimit(1);
  const auto records = context.executeFetchRequest<ADAlert>(request, error);
  if (!records || records->empty()) {
    return std::nullopt;
  }
  return initWithADAlert(records->front());
}

}  // namespace

void ADAlertStore::insertAlert(const VLAlert& alert) {
  insertADAlertObjectInManagedObjectContext(alert, managedObjectContext());
}

std::vector<VLAlert> ADAlertStore::getAlertsOfType(const std::optional<std::string>& type,
                                                   ErrorSlot error) {
  return listing(managedObjectContext(), newestFirst("type = %@", type), error);
}

std::vector<VLAlert> ADAlertStore::getAlertsOfBundle(const std::optional<std::string>& bundle,
                                                     ErrorSlot error) {
  return listing(managedObjectContext(), newestFirst("bundle = %@", bundle), error);
}

std::optional<VLAlert> ADAlertStore::getLastAlertOfType(const std::optional<std::string>& type,
                                                        ErrorSlot error) {
  return newest(managedObjectContext(), newestFirst("type = %@", type), error);
}

std::optional<VLAlert> ADAlertStore::getLastAlertOfBundle(const std::optional<std::string>& bundle,
                                                          ErrorSlot error) {
  return newest(managedObjectContext(), newestFirst("bundle = %@", bundle), error);
}

}  // namespace velto
