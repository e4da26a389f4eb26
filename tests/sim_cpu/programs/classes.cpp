// Virtual functions, templates, static constructors and the standard algorithms.
#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>

extern "C" int main();
extern "C" void* __dso_handle;
void* __dso_handle = nullptr;
extern "C" int __aeabi_atexit(void*, void (*)(void*), void*) { return 0; }

namespace {

struct Shape {
    virtual ~Shape() = default;
    virtual uint32_t Area(uint32_t Scale) const = 0;
    virtual uint32_t Id() const { return 7; }
};
template <unsigned N> struct Polygon : Shape {
    uint32_t Side;
    explicit Polygon(uint32_t S) : Side(S) {}
    uint32_t Area(uint32_t Scale) const override { return Side * Side * N * Scale / 4; }
    uint32_t Id() const override { return N; }
};
struct Circle final : Polygon<3> {
    using Polygon<3>::Polygon;
    uint32_t Area(uint32_t Scale) const override { return uint32_t(uint64_t(Side) * Side * 355 * Scale / 113); }
};

struct Counter {
    uint32_t Value;
    Counter() : Value(41) {}
} Global;

template <typename T, size_t N> T Median(std::array<T, N> Values)
{
    std::nth_element(Values.begin(), Values.begin() + N / 2, Values.end());
    return Values[N / 2];
}

uint32_t Seed = 4711;
uint32_t Next() { return Seed = Seed * 1103515245u + 12345u; }

} // namespace

int main()
{
    uint32_t Sum = Global.Value;
    Polygon<4> Square(3);
    Polygon<6> Hexagon(5);
    Circle Round(9);
    std::array<Shape*, 3> Shapes{&Square, &Hexagon, &Round};
    std::array<uint32_t, 200> Values{};
    std::array<int16_t, 64> Small{};
    for (uint32_t i = 0; i < 12; ++i) {
        for (auto* p : Shapes) Sum = Sum * 31 + p->Area(i + 1) + p->Id();
        std::generate(Values.begin(), Values.end(), Next);
        std::generate(Small.begin(), Small.end(), [] { return int16_t(Next() >> 9); });
        std::sort(Values.begin(), Values.end());
        std::stable_partition(Values.begin(), Values.end(), [](uint32_t V) { return V & 4; });
        Sum += std::accumulate(Values.begin(), Values.end(), Sum, [](uint32_t A, uint32_t B) { return A * 5 + B; });
        Sum += uint32_t(int32_t(Median(Small)));
        std::make_heap(Small.begin(), Small.end(), std::greater<int16_t>());
        Sum ^= uint32_t(uint16_t(Small[5]));
        Sum += uint32_t(std::lower_bound(Small.begin(), Small.end(), int16_t(i)) - Small.begin());
    }
    return int(Sum);
}
