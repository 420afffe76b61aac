#include "teska_version.h"

const char *teska_version(void) noexcept { return TESKA_VERSION; }

int teska_version_number(void) noexcept { return TESKA_VERSION_NUMBER; }
