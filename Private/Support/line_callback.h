// line_callback - whom a filter tells that a line of a component is finished: a function with the user's pointer or
// one without
//
// Used by fir, fusm and ibilin.

#ifndef TESKA_SUPPORT_LINE_CALLBACK_H
#define TESKA_SUPPORT_LINE_CALLBACK_H

namespace teska
{

struct line_callback {
    void (*plain)(int component) = nullptr;
    void (*with)(void *context, int component) = nullptr;  // in place of it, unless null
    void *context = nullptr;

    void operator()(int component) const
    {
        if (with != nullptr)
            with(context, component);
        else
            plain(component);
    }
};

}  // namespace teska

#endif
