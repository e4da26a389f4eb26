// The classes of shapes.cpp.
#pragma once

namespace geometry {

enum class Mode : unsigned char { Slow, Fast = 200 };

class Shape {
public:
    explicit Shape(const char* sName);
    virtual int Area() const;
    virtual int Corners() const = 0;
    static int s_numShapes;

protected:
    const char* m_sName;

private:
    Mode m_mode = Mode::Slow;
    unsigned m_flags : 3 = 0;
    unsigned m_level : 7 = 0;
};

struct Coloured {
    int m_colour = 0;
    virtual int Colour() const { return m_colour; }
};

class Rect : public Shape, protected Coloured {
public:
    Rect(const char* sName, int width, int height) : Shape(sName), m_width(width), m_height(height) {}
    int Area() const override;
    int Corners() const override { return 4; }

protected:
    int m_width;
    int m_height;
};

class Square final : public Rect {
public:
    Square(const char* sName, int side) : Rect(sName, side, side) {}
    int Perimeter() const;
    int m_unused = 0;
};

} // namespace geometry

template <typename T, int N> class Ring {
public:
    T Push(T value);

private:
    T m_aItem[N] = {};
    int m_next = 0;
};
