// SPDX-License-Identifier: Apache-2.0
// Boost.JSON, compiled into the library and hidden there: a program that uses the library may bring
// another version of Boost, and must not need this one to be installed.
#include <boost/json/src.hpp>
