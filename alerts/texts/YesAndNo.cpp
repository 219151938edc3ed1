// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/YesAndNo.h"

#include <algorithm>
#include <iterator>

namespace velto {
namespace {

struct Row {
  std::string_view language;
  YesAndNo words;
};

// ICU has no such words, and those of the C library come with locales that few machines install.
constexpr Row kRows[] = {
    {"ar", {"نعم", "لا"}},     {"bg", {"да", "не"}},       {"ca", {"sí", "no"}},
    {"cs", {"ano", "ne"}},     {"da", {"ja", "nej"}},      {"de", {"ja", "nein"}},
    {"el", {"ναι", "όχι"}},    {"en", {"yes", "no"}},      {"es", {"sí", "no"}},
    {"et", {"jah", "ei"}},     {"eu", {"bai", "ez"}},      {"fa", {"بله", "خیر"}},
    {"fi", {"kyllä", "ei"}},   {"fr", {"oui", "non"}},     {"gl", {"si", "non"}},
    {"he", {"כן", "לא"}},      {"hi", {"हाँ", "नहीं"}},      {"hr", {"da", "ne"}},
    {"hu", {"igen", "nem"}},   {"id", {"ya", "tidak"}},    {"is", {"já", "nei"}},
    {"it", {"sì", "no"}},      {"ja", {"はい", "いいえ"}}, {"ko", {"예", "아니요"}},
    {"lt", {"taip", "ne"}},    {"lv", {"jā", "nē"}},       {"mk", {"да", "не"}},
    {"ms", {"ya", "tidak"}},   {"nb", {"ja", "nei"}},      {"nl", {"ja", "nee"}},
    {"nn", {"ja", "nei"}},     {"no", {"ja", "nei"}},      {"pl", {"tak", "nie"}},
    {"pt", {"sim", "não"}},    {"ro", {"da", "nu"}},       {"ru", {"да", "нет"}},
    {"sk", {"áno", "nie"}},    {"sl", {"da", "ne"}},       {"sq", {"po", "jo"}},
    {"sr", {"да", "не"}},      {"sv", {"ja", "nej"}},      {"th", {"ใช่", "ไม่ใช่"}},
    {"tr", {"evet", "hayır"}}, {"uk", {"так", "ні"}},      {"vi", {"có", "không"}},
    {"zh", {"是", "否"}},
};

}  // namespace

YesAndNo yesAndNoIn(std::string_view language) {
  const auto* found = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const Row& row) { return row.language == language; });
  return found == std::end(kRows) ? YesAndNo{"yes", "no"} : found->words;
}

}  // namespace velto
