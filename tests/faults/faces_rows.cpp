// Faces in C of classes, and the filters on whole images, when memory is short
#include "archive.h"
#include "clut_table.h"
#include "faults/sweep.h"
#include "izat.h"
#include "whole_image.h"

namespace teska_test
{

namespace
{

constexpr int points[] = {2, 2, 2};
unsigned char pixels[64], result[64];
const whole_image from{pixels, 4, 4, 3, 8, 12, 3, 1};
const whole_image to{result, 4, 4, 3, 8, 12, 3, 1};

const SweepRows rows({
    calling("archive_create", [] { return made(archive_create("/dev/null", "", nullptr), archive_kill); },
            {{"archive_create: insufficient memory"},
             {"archive_create: insufficient memory", "list_new : Not enough resources to create list"}}),
    calling("clut_table_new", [] { return made(clut_table_new(3, points, 1, nullptr), clut_table_kill); },
            {{"clut_table_new: insufficient memory"}}),
    calling("whole_image_resize", [] { return whole_image_resize(IZAT_TRIANGLE, &from, &to, nullptr, 0, 4) == 1; },
            {{"izat_new: insufficient memory"}, {"izat_start: insufficient memory"}}),
    calling("whole_image_resize, picking",
            [] { return whole_image_resize(WHOLE_IMAGE_PICK, &from, &to, nullptr, 0, 4) == 1; },
            {{"izoom_new: insufficient memory"}, {"izoom_start: insufficient memory"}}),
});

}  // namespace

}  // namespace teska_test
