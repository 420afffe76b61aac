// failure - what ends an example: one line for the person who started it

#include "support/failure.h"

#include "error_mess.h"

namespace examples
{

void throw_report()
{
    const char *line = error_get();
    throw failure(line != nullptr ? line : "the library failed without a report");
}

}  // namespace examples
