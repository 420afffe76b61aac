// top_surface - the class TTriangularTopSurface for C and for other languages (geometry)
//
// The class takes no null for the user's data; the record itself goes there, with the caller's pointer inside. No
// process-wide state.

#include "top_surface.h"

#include "Support/report.h"

#include "ttriangulartopsurface.h"

#include <memory>
#include <new>

struct top_surface {
    top_surface(int colorants, const double *const *levels, const int *counts, int vertical, top_surface_device call,
                void *data, int steps)
        : device(call), user(data),
          surface(colorants, const_cast<const double **>(levels), counts, this, vertical, called, steps, steps)
    {
    }

    static int called(void *record, const double *values, double *colour)
    {
        auto *const top = static_cast<top_surface *>(record);
        const int result = top->device(top->user, values, colour);
        top->failed = top->failed || result < 0;
        return result;
    }

    top_surface_device device;
    void *user;
    bool failed = false;
    TTriangularTopSurface surface;
};

top_surface *top_surface_new(int colorants, const double *const *levels, const int *counts, int vertical,
                             top_surface_device device, void *user, int steps) TESKA_NOTHROW
{
    std::unique_ptr<top_surface> top(new (std::nothrow)
                                         top_surface(colorants, levels, counts, vertical, device, user, steps));
    if (!top) {
        TESKA_ERR("top_surface_new: insufficient memory");
        return nullptr;
    }
    if (top->surface.ErrNo() == 0)
        return top.release();
    if (top->failed)
        TESKA_ERR("top_surface_new: the device failed");
    return nullptr;
}

top_surface *top_surface_kill(top_surface *top) TESKA_NOTHROW
{
    delete top;
    return nullptr;
}

int top_surface_get_nr_parts(top_surface *top) TESKA_NOTHROW { return top->surface.GetNrDifferentPrimCombs(); }

int top_surface_get_part(top_surface *top, int part, double *device) TESKA_NOTHROW
{
    return top->surface.GetPrimComb(part, device);
}

int top_surface_next_triangle(top_surface *top, int first, double corners[9], double coords[9]) TESKA_NOTHROW
{
    return top->surface.ScanTriangles(first, reinterpret_cast<double(*)[3]>(corners),
                                      reinterpret_cast<double(*)[3]>(coords));
}

int top_surface_normalise(top_surface *top, const double *colours, double *norm, double *penalty, int count,
                          int smaller) TESKA_NOTHROW
{
    return smaller != 0 ? top->surface.DetermineNormCoordMinGam(colours, norm, penalty, count)
                        : top->surface.DetermineNormCoord(colours, norm, penalty, count);
}

int top_surface_colour(top_surface *top, const double *norm, double *colours, int count, int smaller) TESKA_NOTHROW
{
    return smaller != 0 ? top->surface.DetermineXYZMinGam(norm, colours, nullptr, count)
                        : top->surface.DetermineXYZ(norm, colours, nullptr, count);
}

int top_surface_edge(top_surface *top, double phi, double *tetamax, double *vt) TESKA_NOTHROW
{
    return top->surface.UmbrellaEdge(phi, tetamax, vt);
}
