// test - what nearly every test of a module needs

#ifndef TESKA_TESTS_TEST_H
#define TESKA_TESTS_TEST_H

#include "Support/memory.h"
#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#endif
