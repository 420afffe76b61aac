// test - what nearly every test of a module needs

#ifndef TESKA_TESTS_TEST_H
#define TESKA_TESTS_TEST_H

#include "Support/memory.h"
#include "support/folder.h"
#include "support/generator.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#endif
