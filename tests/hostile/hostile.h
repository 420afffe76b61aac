// hostile - calls every function of the interface with all that its header allows, and much that it only answers to
//
// A row names functions and says, where their types do not, what each parameter is drawn from:
//
//     const HostileRows rows({
//         row<vect_calc_norm>(in(8), one_of(-1, 0, 8)),          reads 8 numbers, told that there are less
//         row<mat_kill, clg_kill>(last_of),                      two functions; those of none are drawn by their types
//         by<wem_zcreate>([](Draw &draw) { ... }),               the arguments depend on each other
//         without("waitsec", "sleeps"),
//     });
//
// It is called some hundred times; plain arguments, a few hostile ones among them, and hostile ones only take turns.
// Afterwards nothing outside the arrays has been written to, objects that were given as const answer as they did
// before, the others still answer, and what was made is freed. tools/check_exports.py compares the names with the
// headers: every function has its row, or stands there with the reason why it has none.

#ifndef TESKA_TESTS_HOSTILE_H
#define TESKA_TESTS_HOSTILE_H

#include "support/test.h"

#include <list>

struct bezier;

namespace teska_test
{

// What is drawn: chosen by the bytes of an input, each for one number, as long as there are some, then by chance.
class Source
{
public:
    Source(std::uint64_t seed, std::string_view bytes) : by_chance_(seed), bytes_(bytes) {}

    std::uint64_t next()
    {
        if (bytes_.empty())
            return by_chance_.next();
        const unsigned byte = static_cast<unsigned char>(bytes_.front());
        bytes_.remove_prefix(1);
        return Generator(byte).next();
    }
    int below(int limit) { return static_cast<int>(next() >> 33) % limit; }
    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }

private:
    Generator by_chance_;
    std::string_view bytes_;
};

class Draw;

// Looks at the calls that a draw makes: the sweep of tests/faults lets allocations fail in them.
struct Observer {
    virtual ~Observer() = default;
    virtual void before() = 0;
    virtual void after() = 0;
    // Of what a call gave, which is freed by now. Returns whether it is to be made once more.
    virtual bool again(Draw &draw, std::uint64_t result) = 0;
    bool empties_folder = true;  // before a draw that works in it
};

// An object that was lent to a call, and how it answers.
struct Lent {
    bool frozen;
    std::function<std::uint64_t()> answers;
    std::uint64_t before, now = 0;
};

// The arguments of one call, what they need, and what is to be looked at after it.
class Draw
{
public:
    explicit Draw(std::uint64_t seed, std::string_view bytes = {});
    Draw(const Draw &) = delete;
    Draw &operator=(const Draw &) = delete;
    ~Draw() { finish(); }

    Source random;

    bool chance(int out_of) { return random.below(out_of) == 0; }
    double number();
    double plain() { return (4 * random.unit() - 2) * (chance(2) ? 1 : 50); }

    // n values in memory of their own, so that reading past them is noticed; nothing else is.
    template <class T>
    T *values(int n)
    {
        T *made = keep(std::shared_ptr<T[]>(new T[static_cast<std::size_t>(n)]));
        for (int i = 0; i < n; ++i)
            made[i] = value<T>();
        if constexpr (std::is_arithmetic_v<T>)
            arrays.push_back([=](Digest &digest) { digest.add(made, sizeof(T) * static_cast<std::size_t>(n)); });
        last_ = made;
        return made;
    }

    // Room for n values between guards that must stay as they are.
    template <class T>
    T *room(int n)
    {
        T *guarded = values<T>(n + 2 * guard);
        last_ = guarded + guard;
        later([guarded, n, before = ends(guarded, n)] { EXPECT_EQ(ends(guarded, n), before) << "outside an array"; });
        return guarded + guard;
    }

    // The array that was made last: where one argument may be another one.
    template <class T>
    T *last()
    {
        return static_cast<T *>(last_);
    }

    template <class T>
    T *keep(std::shared_ptr<T[]> array)
    {
        kept_.push_back(array);
        return array.get();
    }

    // Makes a call. What it gave is then asked and freed: `received` returns its digest.
    template <class Call, class Received>
    void call(Call made, Received received)
    {
        for (bool again = true; again;) {
            has_given = false;
            if (observer != nullptr)
                observer->before();
            made();
            if (observer != nullptr)
                observer->after();
            const std::uint64_t result = received();
            again = observer != nullptr && observer->again(*this, result);
        }
    }

    static inline Observer *observer = nullptr;
    bool in_folder = false;  // that of hostile_path
    bool has_given = false;  // the call, an object
    std::vector<Lent> lent;
    std::vector<std::function<void(Digest &)>> arrays;  // that tell what is in them

    // After the call, the latest first.
    void later(std::function<void()> check) { later_.push_back(std::move(check)); }
    void finish();

    template <class T>
    T value()
    {
        if constexpr (std::is_floating_point_v<T>)
            return fitting<T>(number());
        else if constexpr (std::is_integral_v<T>)
            return static_cast<T>(chance(3) ? random.next() : chance(2) ? 0 : random.next() >> 61);
        else
            return T();
    }

    // What or_last gives next.
    void remember(void *last) { last_ = last; }

    // A float may be infinite, but no double beyond its range is converted to it.
    template <class T>
    static T fitting(double drawn)
    {
        constexpr T infinity = std::numeric_limits<T>::infinity();
        const bool fits = !(std::abs(drawn) > std::numeric_limits<T>::max());
        return fits ? static_cast<T>(drawn) : drawn > 0 ? infinity : -infinity;
    }

private:
    static constexpr int guard = 8;

    template <class T>
    static std::string ends(const T *guarded, int n)
    {
        const auto *const all = reinterpret_cast<const char *>(guarded);
        const std::size_t end = guard * sizeof(T), middle = static_cast<std::size_t>(n) * sizeof(T);
        return std::string(all, end).append(all + end + middle, end);
    }

    int hostile_;  // one of so many numbers; 0: none
    void *last_ = nullptr;
    std::vector<std::shared_ptr<void>> kept_;
    std::vector<std::function<void()>> later_;
};

// What an object is asked with: the same values again and again. What is written to them is part of the answer.
struct Memory {
    std::list<std::vector<double>> values, pointers;
};

template <class Result, class... Parameter>
auto nobody(Result (*)(Parameter...))
{
    return [](Parameter...) { return Result(); };
}

template <class T>
T same_argument(Memory &memory)
{
    using Target = std::remove_const_t<std::remove_pointer_t<T>>;
    using Value = std::conditional_t<std::is_void_v<Target>, double, Target>;
    if constexpr (std::is_floating_point_v<T>)
        return T(0.25);
    else if constexpr (std::is_arithmetic_v<T>)
        return 1;
    else if constexpr (std::is_function_v<Target>)
        return nobody(T());
    else if constexpr (std::is_arithmetic_v<Value> || std::is_pointer_v<Value>) {
        constexpr std::size_t count = 296;
        auto &place = std::is_pointer_v<Value> ? memory.pointers : memory.values;
        auto *const values = reinterpret_cast<Value *>(place.emplace_back(sizeof(Value) * count / 8).data());
        if constexpr (std::is_pointer_v<Value>)
            std::fill(values, values + count, same_argument<Value>(memory));
        else if constexpr (std::is_same_v<Value, char>)
            values[0] = 'a';
        else if constexpr (std::is_floating_point_v<Value>)
            std::generate(values, values + 8, [x = 0.125]() mutable { return static_cast<Value>(x *= 2); });
        else
            std::fill(values, values + 8, static_cast<Value>(1 + std::numeric_limits<Value>::max() / 5 * 2));
        return values;
    } else {
        return nullptr;
    }
}

template <class T, class Result, class Given, class... Parameter>
void ask(T *object, Digest &digest, Result (*query)(Given, Parameter...))
{
    Memory memory;
    const std::tuple<Given, Parameter...> arguments{object, same_argument<Parameter>(memory)...};
    if constexpr (std::is_arithmetic_v<Result>)
        digest.put(std::apply(query, arguments));
    else
        std::apply(query, arguments);
    for (const std::vector<double> &written : memory.values)
        digest.put(written);
}

// What the rows know of a type of object: how to make one (of null when the draw made none), to free it, to ask it.
//     inline auto make(Draw &draw, mat *) { return made<mat_kill, mat_get_element>(mat_new( ... )); }
template <class T, auto kill, auto... query>
struct Made {
    T *object;

    static void free(T *object)
    {
        if constexpr (std::is_void_v<decltype(kill(object))>)
            kill(object);
        else
            EXPECT_EQ(!kill(object), (!std::is_same_v<T, bezier>)) << "0 for the handle, but for these";
    }
    static std::uint64_t answers([[maybe_unused]] T *object)
    {
        Digest digest;
        (ask(object, digest, query), ...);
        return digest.value();
    }
};

template <auto kill, auto... query, class T>
Made<T, kill, query...> made(T *object)
{
    return {object};
}

template <class T>
using Kind = decltype(make(std::declval<Draw &>(), static_cast<T *>(nullptr)));

template <class T>
concept Known = requires
{
    typename Kind<T>;
};

// An object for a call; frozen: it must answer as before.
template <Known T>
T *lend(Draw &draw, bool frozen)
{
    T *object = nullptr;
    while (object == nullptr)
        object = make(draw, static_cast<T *>(nullptr)).object;
    draw.remember(object);
    const auto answers = [object] { return Kind<T>::answers(object); };
    draw.lent.push_back({frozen, answers, answers()});
    draw.later([object, frozen, before = draw.lent.back().before] {
        const std::uint64_t after = Kind<T>::answers(object);
        EXPECT_TRUE(!frozen || after == before) << "the object answers otherwise";
        Kind<T>::free(object);
    });
    return object;
}

// ---- What arguments are drawn from: called with the type of the parameter -------------------------------------------

template <class Body>
struct From {
    Body body;
};
template <class Body>
From(Body) -> From<Body>;

inline constexpr From number{[]<class T>(Draw &draw, T *) { return Draw::fitting<T>(draw.number()); }};

// A live object, which a call by pointer to const leaves as it is; kept: one by pointer to non-const, too.
inline constexpr From live{
    []<class T>(Draw &draw, T **) { return lend<std::remove_const_t<T>>(draw, std::is_const_v<T>); }};
inline constexpr From kept{[]<class T>(Draw &draw, T **) { return lend<std::remove_const_t<T>>(draw, true); }};

// An object that the call frees, or null.
inline constexpr From last_of{[]<class T>(Draw &draw, T **) -> T * {
    return draw.chance(4) ? nullptr : make(draw, static_cast<T *>(nullptr)).object;
}};

// A pointer to void is one to bytes.
template <class T>
using Value = std::conditional_t<std::is_void_v<T>, unsigned char, std::remove_const_t<T>>;

// Element: what a pointer to void points to, when it is no bytes.
template <class Element = void>
auto in(int n)
{
    return From{[n]<class T>(Draw &draw, T **) -> T * {
        return draw.values<std::conditional_t<std::is_void_v<Element>, Value<T>, Element>>(n);
    }};
}

inline auto out(int n)
{
    return From{[n]<class T>(Draw &draw, T **) -> T * { return draw.room<Value<T>>(n); }};
}

// The middle of 2 n + 1 samples: steps may be negative.
inline auto mid(int n)
{
    return From{[n]<class T>(Draw &draw, T **) -> T * { return draw.room<std::remove_const_t<T>>(2 * n + 1) + n; }};
}

// Pointers to the middles of k rows of 2 n + 1 samples; some of them may be null.
inline auto rows_of(int k, int n, bool some = false)
{
    return From{[=]<class T>(Draw &draw, T **) -> T * {
        using Row = std::remove_const_t<T>;
        Row *const leads = draw.keep(std::shared_ptr<Row[]>(new Row[static_cast<std::size_t>(k)]));
        for (int i = 0; i < k; ++i)
            leads[i] = some && draw.chance(6) ? nullptr : mid(n).body(draw, static_cast<Row *>(nullptr));
        return leads;
    }};
}

// Of a single value, as a function to be called, nothing is drawn.
template <class... Value>
auto one_of(Value... value)
{
    return From{[=]<class T>(Draw &draw, T *) {
        const std::common_type_t<Value...> values[] = {value...};
        return static_cast<T>(values[sizeof...(value) == 1 ? 0 : draw.random.below(sizeof...(value))]);
    }};
}

// Room for n values, each one of those given.
template <class... Value>
auto room_of(int n, Value... value)
{
    return From{[=]<class T>(Draw &draw, T **) -> T * {
        std::remove_const_t<T> *const made = draw.room<std::remove_const_t<T>>(n);
        std::generate(made, made + n, [&] { return one_of(value...).body(draw, made); });
        return made;
    }};
}

// From a to b, but for one in eight that is far outside: for what the header says is refused, or cut.
inline auto about(int a, int b)
{
    return From{[a, b]<class T>(Draw &draw, T *) {
        const int outside[] = {a - 1, b + 1, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
        return static_cast<T>(draw.chance(8) ? outside[draw.random.below(5)] : a + draw.random.below(b - a + 1));
    }};
}

// How many of n things a call is told of; below 1 there are none.
inline auto counts(int n)
{
    return From{[n]<class T>(Draw &draw, T *) {
        const int drawn = draw.random.below(n + 3) - 1;
        return static_cast<T>(drawn > n ? std::numeric_limits<int>::min() : drawn);
    }};
}

// The same argument as what was drawn before, now and then.
template <class Other>
auto or_last(Other other)
{
    return From{[=]<class T>(Draw &draw, T **place) -> T * {
        return draw.chance(4) ? draw.last<T>() : other.body(draw, place);
    }};
}

template <class Other>
auto or_null(Other other)
{
    return From{
        [=]<class T>(Draw &draw, T **place) -> T * { return draw.chance(6) ? nullptr : other.body(draw, place); }};
}

// A text of the kinds that readers trip over, zero-terminated, in memory of its own; room: so many bytes for changes.
const std::string &hostile_text(Draw &draw);
inline auto text(int room = 0)
{
    return From{[room]<class T>(Draw &draw, T **) -> T * {
        const std::string &drawn = hostile_text(draw);
        char *made = room > 0 ? draw.room<char>(room) : draw.values<char>(static_cast<int>(drawn.size()) + 1);
        return static_cast<T *>(std::memcpy(made, drawn.c_str(), drawn.size() + 1));
    }};
}

// A path in a folder of the tests: of nothing, a file of hostile text, a folder, a pipe, what cannot be.
const std::string &hostile_path(Draw &draw);
std::string folder_image();  // what is there
inline auto path()
{
    return From{[]<class T>(Draw &draw, T **) -> T * {
        const std::string &drawn = hostile_path(draw);
        return std::strcpy(draw.values<char>(static_cast<int>(drawn.size()) + 1), drawn.c_str());
    }};
}

// By the type alone.
inline constexpr From usual{[]<class T>(Draw &draw, T *place) -> T {
    using Target = std::remove_const_t<std::remove_pointer_t<T>>;
    if constexpr (std::is_floating_point_v<T>)
        return number.body(draw, place);
    else if constexpr (std::is_arithmetic_v<T>)
        return draw.value<T>();
    else if constexpr (Known<Target>)
        return live.body(draw, place);
    else if constexpr (std::is_void_v<Target>)
        return nullptr;
    else if constexpr (std::is_function_v<Target>)
        return nobody(T());
    else if constexpr (std::is_same_v<Target, char>)
        return text(std::is_const_v<std::remove_pointer_t<T>> ? 0 : 512).body(draw, place);
    else
        return out(1).body(draw, place);
}};

// ---- Rows -----------------------------------------------------------------------------------------------------------

struct HostileRow {
    std::string name;
    std::function<void(Draw &)> call;

    friend void PrintTo(const HostileRow &row, std::ostream *stream) { *stream << row.name; }
};

// What a call gave: an object is asked and freed. Returns what tells it from another, but for addresses.
template <class Result>
std::uint64_t receive(Draw &draw, Result result)
{
    Digest digest;
    if constexpr (std::is_arithmetic_v<Result>)
        digest.put(result);
    else if constexpr (std::is_pointer_v<Result>)
        digest.put(result == nullptr);
    if constexpr (Known<std::remove_pointer_t<Result>>)
        if (result != nullptr) {
            draw.has_given = true;
            digest.put(Kind<std::remove_pointer_t<Result>>::answers(result));
            Kind<std::remove_pointer_t<Result>>::free(result);
        }
    return digest.value();
}

// f(..) with arguments that are drawn one after the other, which a call alone does not promise.
template <class Function, class... Argument>
auto in_order(Function function, std::tuple<Argument...> arguments)
{
    return std::apply(function, arguments);
}

template <class Result, class T>
bool same(Result result, T argument)
{
    if constexpr (std::is_pointer_v<Result> && std::is_same_v<Result, T>)
        return result == argument;
    return false;
}

// Makes a call; one of the objects that it may give back is not received.
template <class Call, class... Given>
void calling(Draw &draw, Call call, Given... given)
{
    decltype(call()) result{};
    draw.call([&] { result = call(); }, [&] { return (same(result, given) || ...) ? 0 : receive(draw, result); });
}

// Calls a function with one argument of each; the braces draw them in order.
template <class Result, class... Parameter, class... Source>
std::function<void(Draw &)> caller_of_all(int times, Result (*function)(Parameter...), Source... source)
{
    return [=](Draw &draw) {
        const std::tuple<Parameter...> arguments{source.body(draw, static_cast<Parameter *>(nullptr))...};
        const auto call = [&](auto... argument) {
            if constexpr (std::is_void_v<Result>)
                draw.call([&] { function(argument...); }, [] { return 0; });
            else
                calling(
                    draw, [&] { return function(argument...); }, argument...);
        };
        for (int i = 0; i < times; ++i)
            std::apply(call, arguments);
    };
}

template <class Result, class... Parameter, class... Source>
auto caller(int times, Result (*function)(Parameter...), Source... source)
{
    static_assert(sizeof...(Source) <= sizeof...(Parameter));
    return [=]<std::size_t... usual_at>(std::index_sequence<usual_at...>)
    {
        return caller_of_all(times, function, source..., (static_cast<void>(usual_at), usual)...);
    }
    (std::make_index_sequence<sizeof...(Parameter) - sizeof...(Source)>());
}

// The name that the compiler gives to a function as an argument of a template: the last word of it.
template <auto function>
std::string name_of()
{
    const std::string_view all = __PRETTY_FUNCTION__;
    const std::size_t begin = all.find("function = ") + 11;
    const std::string_view named = all.substr(begin, all.find_first_of(";]", begin) - begin);
    const std::size_t word = named.find_first_not_of("&( ");
    return std::string(named.substr(word, named.find_first_of(") ", word) - word));
}

using Rows = std::vector<HostileRow>;

// The rows of functions with these arguments; parameters after the last source are drawn by their type.
template <auto... function, class... Source>
Rows row(Source... source)
{
    return {HostileRow{name_of<function>(), caller(1, function, source...)}...};
}

// Called again and again with the same arguments, as lines are fed.
template <auto... function, class... Source>
Rows feeding(Source... source)
{
    return {HostileRow{name_of<function>(), caller(7, function, source...)}...};
}

// By a function of the row's own, which takes what is drawn or draws it: a member of a class, or a function of the
// interface.
template <class Call, class... Source>
Rows member(const std::string &name, Call call, Source... source)
{
    if constexpr (std::is_invocable_v<Call, Draw &>)
        return {{name, call}};
    else
        return {{name, caller(1, +call, source...)}};
}

template <auto function, class Call, class... Source>
Rows by(Call call, Source... source)
{
    return member(name_of<function>(), call, source...);
}

// For one of several functions of a name: which, by the types of its parameters.
template <class... Parameter, class Result>
constexpr auto taking(Result (*function)(Parameter...) noexcept)
{
    return function;
}

// A function without a row, and why.
inline Rows without(const char *, const char *) { return {}; }

// Rows of one file; it ends with `const HostileRows rows({...});` at namespace scope.
class HostileRows
{
public:
    HostileRows(std::initializer_list<Rows> rows);
    static Rows &all();
};

std::uint64_t seed_of(const HostileRow &row);

// What is kept of a function in a file of names, each with a word; "none".
std::string word_for(const std::string &name, const char *file);

// Nothing that is reported, shown or fatal reaches anybody.
void quiet();

}  // namespace teska_test

#endif
