// A C++ program for the tests of the program layers: classes, bases, members, namespaces, templates, references.
namespace ns { namespace in {
class Base { public: virtual ~Base() {} virtual int f(int x) = 0; protected: int m_base; static int s_val; };
int Base::s_val = 3;
class Derived : public Base { public: Derived(int v) : m_v(v) {} int f(int x) override; private: int m_v; bool m_flag:1; };
int Derived::f(int x) { int k = m_v + x; return k + s_val; }
template<typename T> T add(T a, T b) { return a + b; }
} }
int g_cpp;
int use(int& ref, const char* s) { ns::in::Derived d(ref); ns::in::Base* p = &d; return p->f(3) + ns::in::add<int>(1, *s); }
extern "C" void operator_delete_dummy() {}
void operator delete(void*) noexcept {}
void operator delete(void*, unsigned) noexcept {}
extern "C" void __cxa_pure_virtual() { for(;;); }
