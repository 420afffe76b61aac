// figures - named vectors written to a record file and listed back

#include "records/figures.h"

#include "support/failure.h"
#include "support/foreign.h"

#include "file_double.h"

#include <cmath>

namespace examples
{

namespace
{

constexpr int kept_digits = 4;

using table = foreign<file_double, file_double_kill>;

table open_table(const std::filesystem::path &file, std::size_t length, int create)
{
    table opened(file_double_new(file.c_str(), static_cast<int>(length), create));
    if (!opened)
        throw failure("cannot open the record file " + file.string());
    return opened;
}

void write(const std::filesystem::path &file, const std::vector<named_figures> &rows, std::size_t length)
{
    const table written = open_table(file, length, 1);
    for (const named_figures &row : rows)
        if (file_double_add_item(written.get(), row.name.c_str(), row.values.data()) != 0)
            throw failure("the record file does not take " + row.name);
    if (file_double_save(written.get()) != 0)
        throw failure("cannot save the record file " + file.string());
}

std::vector<named_figures> listed(const std::filesystem::path &file, std::size_t length)
{
    const table read = open_table(file, length, 0);
    std::vector<named_figures> rows;
    std::vector<double> values(length);
    int state = 0;
    while (const char *name = file_double_list(read.get(), &state, values.data()))
        rows.push_back({name, values});
    return rows;
}

bool kept(double given, double back)
{
    int digits = 0;
    int places = 0;
    vd_fmt_d(given, kept_digits, &digits, &places);
    // A hair more than half: the decimal text of a value is not the value.
    return std::abs(back - given) <= 0.500001 * std::pow(10.0, -places);
}

}  // namespace

std::vector<named_figures> written_and_listed(const std::filesystem::path &file, const std::vector<named_figures> &rows)
{
    const std::size_t length = rows.empty() ? 0 : rows.front().values.size();
    write(file, rows, length);
    std::vector<named_figures> back = listed(file, length);
    if (back.size() != rows.size())
        throw failure("the record file does not list every item");
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = 0; j < length; ++j)
            if (back[i].name != rows[i].name || !kept(rows[i].values.at(j), back[i].values[j]))
                throw failure("the record file lists " + rows[i].name + " otherwise than it was written");
    return back;
}

}  // namespace examples
