#include "faults/sweep.h"
#include "ibilin.h"

#include <memory>

namespace teska_test
{

namespace
{

using Record = std::shared_ptr<ibilin>;

int delivered = 0;

int start(ibilin *record)
{
    return ibilin_start(
        record, 3, 1, 100, 1, 200, [](int) { ++delivered; }, 3, 3);
}

// Feeds a line to every component; how many are handed out.
std::string feed(const Record &record)
{
    static unsigned char line[300], out[600];
    unsigned char *outs[] = {out, out + 1, out + 2};
    delivered = 0;
    ibilin_rgb_b(record.get(), line, line + 1, line + 2, &outs[0], &outs[1], &outs[2]);
    return std::to_string(delivered);
}

// Ignores lines, as after a failure.
Record make() { return {ibilin_new(0), ibilin_kill}; }

const SweepRows rows({
    calling("ibilin_new", [] { return made(ibilin_new(0), ibilin_kill); },
            {{.count = 1, .once = {"ibilin_new:unable to create ibilin"}}}),
    changing<Record>("ibilin_start", make, [](const Record &record) { return start(record.get()) == 1; }, feed,
                     {{.count = 4, .once = {"ibilin_start: unsufficient resources"}}}),
});

}  // namespace

}  // namespace teska_test
