// machine - what the figures were measured on

#ifndef EXAMPLES_MACHINE_H
#define EXAMPLES_MACHINE_H

#include <string>

namespace examples
{

// The processor's name; empty where the system does not tell.
std::string processor_name();

}  // namespace examples

#endif
