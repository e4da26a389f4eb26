// Example program in C++: shapes behind virtual functions, a ring buffer template, namespaces and
// operators, without exceptions and run time type information.
#include "../common/vantrelsim.h"
extern "C" {
#include "../blinky/drivers/uart.h"
}

#include <cstdint>
#include <cstdio>

namespace Geometry {

struct Point {
    int x = 0;
    int y = 0;
    constexpr Point operator+(const Point& Other) const { return {x + Other.x, y + Other.y}; }
};

class Shape {
public:
    explicit Shape(const char* sName)
        : m_sName(sName)
    {
        s_NumShapes++;
    }
    virtual ~Shape() = default;
    virtual float GetArea() const = 0;
    virtual void Move(const Point& By) { m_Origin = m_Origin + By; }
    const char* GetName() const { return m_sName; }
    const Point& GetOrigin() const { return m_Origin; }
    static int GetNumShapes() { return s_NumShapes; }

protected:
    Point m_Origin;

private:
    const char* m_sName;
    static int s_NumShapes;
};

int Shape::s_NumShapes = 0;

class Rectangle : public Shape {
public:
    Rectangle(int Width, int Height)
        : Shape("rectangle")
        , m_Width(Width)
        , m_Height(Height)
    {
    }
    float GetArea() const override { return static_cast<float>(m_Width * m_Height); }

protected:
    int m_Width;
    int m_Height;
};

class Square final : public Rectangle {
public:
    explicit Square(int Side)
        : Rectangle(Side, Side)
    {
    }
    void Move(const Point& By) override
    {
        Rectangle::Move(By);
        m_NumMoves++;
    }
    unsigned GetNumMoves() const { return m_NumMoves; }

private:
    unsigned m_NumMoves = 0;
};

class Circle final : public Shape {
public:
    explicit Circle(float Radius)
        : Shape("circle")
        , m_Radius(Radius)
    {
    }
    float GetArea() const override { return 3.14159265f * m_Radius * m_Radius; }

private:
    float m_Radius;
};

} // namespace Geometry

namespace Util {

/// Ring of the newest N values.
template <typename T, unsigned N> class Ring {
public:
    void Push(const T& Value)
    {
        m_aValues[m_Next] = Value;
        m_Next = (m_Next + 1) % N;
        if (m_Count < N) {
            m_Count++;
        }
    }
    unsigned GetCount() const { return m_Count; }
    const T& operator[](unsigned Index) const { return m_aValues[(m_Next + N - m_Count + Index) % N]; }

private:
    T m_aValues[N] = {};
    unsigned m_Next = 0;
    unsigned m_Count = 0;
};

template <typename T> T Max(T a, T b)
{
    return a > b ? a : b;
}

} // namespace Util

enum class Phase : std::uint8_t { Idle, Measure, Report };

static Geometry::Rectangle _Rectangle(4, 3);
static Geometry::Square _Square(5);
static Geometry::Circle _Circle(1.5f);
static Geometry::Shape* const _apShapes[] = {&_Rectangle, &_Square, &_Circle};

Util::Ring<float, 8> Areas;
Util::Ring<Geometry::Point, 4> Track;
Phase CurrentPhase = Phase::Idle;
volatile std::uint32_t NumTicks;
float Largest;

extern "C" void SysTick_Handler()
{
    NumTicks = NumTicks + 1;
}

static void MeasureAll(int Round)
{
    for (Geometry::Shape* pShape : _apShapes) {
        const float Area = pShape->GetArea();
        Areas.Push(Area);
        Largest = Util::Max(Largest, Area);
        pShape->Move({Round, 1});
    }
    Track.Push(_Square.GetOrigin());
}

int main()
{
    UART_Init(115200);
    SYST_RVR = SYSCTL->CLKHZ / 1000 - 1;
    SYST_CVR = 0;
    SYST_CSR = 7;
    for (int Round = 0;; Round++) {
        CurrentPhase = Phase::Measure;
        MeasureAll(Round);
        CurrentPhase = Phase::Report;
        std::printf("%d shapes, largest %d, square at %d,%d\n", Geometry::Shape::GetNumShapes(), static_cast<int>(Largest), _Square.GetOrigin().x,
                    _Square.GetOrigin().y);
        CurrentPhase = Phase::Idle;
        const std::uint32_t Start = NumTicks;
        while (NumTicks - Start < 100) {
            __asm volatile("wfi");
        }
    }
}
