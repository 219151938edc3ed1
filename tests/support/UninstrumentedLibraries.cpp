// SPDX-License-Identifier: Apache-2.0
// For ThreadSanitizer, which calls this. It sees what ICU copies and compares, since it knows these
// functions of the C library, but not the locks and flags by which ICU makes its data once for all
// threads, since ICU is not compiled for it.

extern "C" const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions() {
  return "called_from_lib:libicuuc.so\n"
         "called_from_lib:libicui18n.so\n";
}
