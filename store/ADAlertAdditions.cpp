// SPDX-License-Identifier: Apache-2.0
#include "store/ADAlertAdditions.h"

#include <string_view>
#include <utility>

#include "alerts/VLAlertJSON.h"
#include "platform/propertylist/PropertyListBinaryJSON.h"
#include "platform/propertylist/PropertyListJSON.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

std::optional<PropertyList::Dictionary> decodedAttributes(const Data& data) {
  auto value = PropertyListSerialization::propertyList(data, nullptr);
  if (!value || value->dictionary() == nullptr) {
    return std::nullopt;
  }
  return std::move(*value->dictionary());
}

/// As the last member. Nearly all are as the writer makes them, and need not be values in between.
void addAttributes(JSONObjectText& alert, std::string& text, std::string_view data) {
  const std::size_t size = text.size();
  alert.beginMember("attributes");
  if (appendPlainJSON(text, data)) return;
  if (const auto attributes = decodedAttributes(Data(data))) {
    appendJSON(text, *attributes);
  } else {
    text.resize(size);
  }
}

/// Those of a text, or of data.
std::optional<std::string_view> bytesOf(const AttributeValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* data = std::get_if<Data>(&value)) return data->view();
  return std::nullopt;
}

std::optional<Date> dateOf(const AttributeValue& value) {
  const auto* date = std::get_if<Date>(&value);
  return date == nullptr ? std::nullopt : std::optional(*date);
}

/// The values of a record are asked for by the position of their attribute.
template <typename Bytes, typename Dates>
void appendAlertJSON(std::string& text, const Bytes& bytes, const Dates& date) {
  JSONObjectText alert(text);
  addMembers(alert, {.identifier = bytes(positionOf<ADAlert>("identifier")),
                     .type = bytes(positionOf<ADAlert>("type")),
                     .bundle = bytes(positionOf<ADAlert>("bundle")),
                     .creationDate = date(positionOf<ADAlert>("creationDate")),
                     .sentDate = date(positionOf<ADAlert>("sentDate")),
                     .readDate = date(positionOf<ADAlert>("readDate")),
                     .resolvedDate = date(positionOf<ADAlert>("resolvedDate"))});
  if (const auto attributes = bytes(positionOf<ADAlert>("attributes"))) {
    addAttributes(alert, text, *attributes);
  }
  alert.end();
}

/// Takes the absent values out of what the value holds, at any depth.
void leaveOutAbsent(PropertyList& value) {
  const auto isAbsent = [](const PropertyList& one) { return one.isAbsent(); };
  if (auto* dictionary = value.dictionary()) {
    std::erase_if(*dictionary, [&](const auto& entry) { return isAbsent(entry.second); });
    for (auto& [key, held] : *dictionary) {
      leaveOutAbsent(held);
    }
  } else if (auto* array = value.array()) {
    std::erase_if(*array, isAbsent);
    for (PropertyList& held : *array) {
      leaveOutAbsent(held);
    }
  }
}

}  // namespace

std::optional<Data> encodedAttributes(const std::optional<PropertyList::Dictionary>& attributes) {
  if (!attributes) {
    return std::nullopt;
  }
  if (auto data = PropertyListSerialization::binaryData(*attributes, nullptr)) {
    return data;
  }
  // A property list has no form for an absent value.
  PropertyList present(*attributes);
  leaveOutAbsent(present);
  return PropertyListSerialization::binaryData(present, nullptr);
}

VLAlert initWithADAlert(const ADAlert& record) {
  VLAlert alert;
  alert.bundle = record.bundle();
  alert.type = record.type();
  alert.identifier = record.identifier();
  alert.creationDate = record.creationDate();
  alert.sentDate = record.sentDate();
  alert.readDate = record.readDate();
  alert.resolvedDate = record.resolvedDate();
  if (record.attributes() != nullptr) alert.attributes = decodedAttributes(*record.attributes());
  return alert;
}

void appendAlertJSON(std::string& text, const StoredRow& row) {
  appendAlertJSON(
      text, [&](std::size_t attribute) { return row.bytes(attribute); },
      [&](std::size_t attribute) { return row.date(attribute); });
}

void appendAlertJSON(std::string& text, const std::vector<AttributeValue>& values) {
  appendAlertJSON(
      text, [&](std::size_t attribute) { return bytesOf(values[attribute]); },
      [&](std::size_t attribute) { return dateOf(values[attribute]); });
}

ADAlert insertADAlertObjectInManagedObjectContext(const VLAlert& alert,
                                                  ManagedObjectContext& context) {
  auto record = context.insertNewObject<ADAlert>(ADAlert::kEntityName);
  record.setBundle(alert.bundle);
  record.setType(alert.type);
  record.setIdentifier(alert.identifier);
  record.setCreationDate(alert.creationDate);
  record.setSentDate(alert.sentDate);
  record.setReadDate(alert.readDate);
  record.setResolvedDate(alert.resolvedDate);
  record.setAttributes(encodedAttributes(alert.attributes));
  return record;
}

}  // namespace velto
