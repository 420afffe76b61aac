// figures - named vectors written to a record file and listed back

#ifndef EXAMPLES_RECORDS_FIGURES_H
#define EXAMPLES_RECORDS_FIGURES_H

#include <filesystem>
#include <string>
#include <vector>

namespace examples
{

struct named_figures {
    std::string name;
    std::vector<double> values;
};

// Makes the record file and gives back what another reader of it finds. All rows have as many values as the first one.
// Throws failure when the file cannot be written, or when a value comes back farther from the one given than half a
// unit of the last decimal it is kept to.
std::vector<named_figures> written_and_listed(const std::filesystem::path &file,
                                              const std::vector<named_figures> &rows);

}  // namespace examples

#endif
