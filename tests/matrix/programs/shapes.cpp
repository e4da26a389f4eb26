// C++: inheritance, virtual functions, templates, namespaces, lambdas, references, static members.
#include "shapes.h"

namespace geometry {

int Shape::s_numShapes = 0;

Shape::Shape(const char* sName) : m_sName(sName)
{
    s_numShapes++;
}

int Shape::Area() const
{
    return 0;
}

int Rect::Area() const
{
    int area = m_width * m_height;
    return area;
}

int Square::Perimeter() const
{
    return 4 * m_width;
}

inline namespace v2 {
int g_total = 12;
namespace inner {
enum class Small : unsigned char { One = 1, Two = 200 };
struct Switches {
    bool isOn : 1 = true;
    bool isOff : 1 = false;
    Small small : 8 = Small::Two;
    [[no_unique_address]] struct Nothing {
    } nothing;
    int sign : 2 = -1;
} g_switches;
} // namespace inner
int Total(const Shape& a, const Shape& b)
{
    return a.Area() + b.Area() + g_total + inner::g_switches.isOn;
}
} // namespace v2

} // namespace geometry

namespace {

struct hidden {
    int value;
    int Twice() const { return value * 2; }
};

int Anonymous(hidden& h)
{
    h.value++;
    return h.Twice();
}

} // namespace

template <typename T, int N> T Ring<T, N>::Push(T value)
{
    T old = m_aItem[m_next];
    m_aItem[m_next] = value;
    m_next = (m_next + 1) % N;
    return old;
}

template <typename T> T Largest(T a, T b)
{
    return a < b ? b : a;
}

template class Ring<int, 4>;
template class Ring<short, 3>;

Ring<int, 4> g_ring;
geometry::Mode g_mode = geometry::Mode::Fast;
geometry::Rect g_rect("rect", 3, 4);
char8_t g_char8 = u8'a';
char16_t g_char16 = u'b';
int& g_reference = geometry::Shape::s_numShapes;
int geometry::Square::* g_pMember = nullptr;

int UseShapes(int n)
{
    geometry::Square square("square", n);
    geometry::Rect rect("rect", n, 2);
    hidden h{n};
    auto add = [&square, n](int x) {
        int side = square.Perimeter();
        return side + n + x;
    };
    geometry::Shape&& moved = static_cast<geometry::Shape&&>(rect);
    Ring<short, 3> ring;
    int sum = geometry::Total(square, moved) + add(2) + Anonymous(h);
    sum += ring.Push(short(n)) + g_ring.Push(n) + Largest<int>(n, 7) + int(Largest<double>(n, 2.5));
    g_mode = geometry::Mode::Slow;
    return sum + g_reference + g_char8 + g_char16;
}

extern "C" int main()
{
    int sum = 0;
    for (int i = 0; i < 4; i++) sum += UseShapes(i);
    return sum;
}

extern "C" void _start()
{
    main();
    for (;;) {
    }
}

void operator delete(void*, decltype(sizeof(0))) noexcept {}
extern "C" void __cxa_pure_virtual() { for (;;) {} }
extern "C" int __aeabi_atexit(void*, void (*)(void*), void*) { return 0; }
extern "C" { void* __dso_handle; }
