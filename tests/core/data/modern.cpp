// What newer C++ brings: structured bindings, coroutines, generic lambdas, packs, variables of statements, char8_t.
extern unsigned _stack[];
extern "C" void Reset_Handler();
__attribute__((section(".vectors"), used)) void* const Vectors[16] = {_stack, reinterpret_cast<void*>(Reset_Handler)};
// The parts of the library that the language itself asks for.
namespace std {
using size_t = decltype(sizeof(0));
template <typename T> struct tuple_size;
template <size_t I, typename T> struct tuple_element;
template <typename R, typename... A> struct coroutine_traits { using promise_type = typename R::promise_type; };
template <typename P = void> struct coroutine_handle;
template <> struct coroutine_handle<void> {
    void* m_p = nullptr;
    static coroutine_handle from_address(void* p) { coroutine_handle h; h.m_p = p; return h; }
    void* address() const { return m_p; }
    void resume() const { __builtin_coro_resume(m_p); }
    void destroy() const { __builtin_coro_destroy(m_p); }
};
template <typename P> struct coroutine_handle : coroutine_handle<> {
    static coroutine_handle from_address(void* p) { coroutine_handle h; h.m_p = p; return h; }
    static coroutine_handle from_promise(P& p) { return from_address(__builtin_coro_promise(&p, __alignof__(P), true)); }
    P& promise() const { return *static_cast<P*>(__builtin_coro_promise(m_p, __alignof__(P), false)); }
};
struct suspend_always { bool await_ready() const noexcept { return false; } void await_suspend(coroutine_handle<>) const noexcept {} void await_resume() const noexcept {} };
template <typename T> struct initializer_list { const T* m_p; size_t m_n; const T* begin() const { return m_p; } const T* end() const { return m_p + m_n; } };
}
static char s_aHeap[512];
void* operator new(std::size_t) { return s_aHeap; }
void operator delete(void*) noexcept {}
void operator delete(void*, std::size_t) noexcept {}

extern "C" __attribute__((noinline, used)) void Stop() { asm volatile("nop" ::: "memory"); }
volatile int Sink;

struct Generator {
    struct promise_type {
        int current = 0;
        Generator get_return_object() { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }
        std::suspend_always initial_suspend() noexcept { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        std::suspend_always yield_value(int v) { current = v; return {}; }
        void return_void() {}
        void unhandled_exception() {}
    };
    std::coroutine_handle<promise_type> handle;
};

#if !defined(__clang__)
Generator Count(int from, short step)
{
    for (int i = 0; i < 3; i++) {
        volatile int product = from + i * step;
        Stop();
        co_yield product;
    }
}
#endif

struct Three { int x; short y; const char* text; };
struct Custom { int a = 4; long long b = 5; };
template <std::size_t I> auto get(const Custom& c) { if constexpr (I == 0) return c.a; else return c.b; }
template <> struct std::tuple_size<Custom> { static constexpr std::size_t value = 2; };
template <> struct std::tuple_element<0, Custom> { using type = int; };
template <> struct std::tuple_element<1, Custom> { using type = long long; };

constexpr int TABLE[4] = {1, 2, 3, 4};
namespace outer::inline v3::inner { int g_deep = 9; }

template <typename... A> __attribute__((noinline)) int Sum(A... args) { int total = (int(args) + ... + 0); Stop(); return total; }

__attribute__((noinline)) int Bindings(int n)
{
    Three three{n, short(n * 2), "abc"};
    auto [x, y, text] = three;
    auto& [rx, ry, rtext] = three;
    int array[2] = {n, n + 1};
    auto [first, second] = array;
    Custom custom;
    auto [ca, cb] = custom;
    rx++;
    Stop();
    return x + y + text[0] + first + second + ca + int(cb) + ry;
}

__attribute__((noinline)) int Lambdas(int n)
{
    int local = n * 2;
    auto by = [=, &local, copy = n + 1](auto a, int b) mutable { copy += int(a); local += b; Stop(); return copy + local; };
    static constinit int s_calls = 0;
    s_calls++;
    if (int inIf = local + 1; inIf > 3) { Stop(); local += inIf; }
    for (int value : {1, 2}) { local += value; }
    return by(3L, 4) + by('c', 5);
}

extern "C" int main()
{
    int total = Bindings(5 + Sink);
    total += Lambdas(total);
    total += Sum(1, short(2), 'c');
#if !defined(__clang__)
    Generator g = Count(10, 3);
    g.handle.resume();
    total += g.handle.promise().current;
#endif
    Sink = total + TABLE[total & 3] + outer::inner::g_deep;
    Stop();
    return total;
}

extern "C" void Reset_Handler()
{
    main();
    for (;;) {
    }
}

extern "C" void* memcpy(void* d, const void* s, unsigned n)
{
    for (unsigned i = 0; i < n; i++) static_cast<volatile char*>(d)[i] = static_cast<const char*>(s)[i];
    return d;
}
