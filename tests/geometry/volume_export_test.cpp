#include "volume_export.h"

#include <gtest/gtest.h>
