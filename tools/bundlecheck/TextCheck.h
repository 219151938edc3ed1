// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tools/bundlecheck/Finding.h"
#include "tools/bundlecheck/InfoCheck.h"
#include "tools/bundlecheck/TextFile.h"

namespace velto {

/// What is wrong with the texts of a bundle's languages beside each other: texts that are missing
/// in one, attributes that one alone names, and texts for what there is not. What a bundle's code
/// knows beside the declared types is not known here (`hasCode`).
Findings checkTexts(const std::vector<TextFile>& files, const DeclaredTypes& declared,
                    bool hasCode);

}  // namespace velto
