// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <unistd.h>
#include <utility>
#include <vector>

#include <velto/Alert.h>

#include "platform/foundation/Hexadecimal.h"
#include "platform/foundation/ProgramMistake.h"

namespace velto::alerts {

std::string makeIdentifier() {
  std::vector<std::uint8_t> random(16);
  if (::getentropy(random.data(), random.size()) != 0) {
    programMistake("the system has no random numbers");  // which every system since 2014 has
  }
  return hexadecimal(velto::Data(std::move(random)));
}

}  // namespace velto::alerts
