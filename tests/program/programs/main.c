// A C program for the tests of the program layers: locals in blocks, statics, inlined code, bit-fields, arrays,
// function pointers, macros.
typedef unsigned char uint8_t;
typedef struct { int x; uint8_t y[3]; struct { short a:3; short b:5; } bits; } T;
typedef int (*FUNC)(char);
enum color { RED, GREEN=5 };
static volatile int s_counter;
const char* const g_name = "hi";
T g_t;
int g_arr[3][4];
unsigned long long g_ull;
enum color g_col;
FUNC g_fp;
void* g_vp;
union U { int i; float f; } g_u;
#define MAGIC 42
#define SQR(x) ((x)*(x))
__attribute__((noinline)) static int helper(int a, int b)
{
    static int calls;
    calls++;
    int sum = a + b;
    for (int i = 0; i < b; i++) { int t = i * a; sum += t; s_counter += t; }
    return sum;
}
static inline int inl(int q) { int z = q * 3; s_counter += z; return z + MAGIC; }
__attribute__((noinline)) struct { int a; int b; int c; }* other(T* p, double d) { p->x = (int)d; return 0; }
extern struct node g_first;
int walk(const struct node* pNode, int depth);
void hook(void);
int main(void)
{
    T local = {1, {2,3,4}, {1,2}};
    int r = helper(local.x, 3);
    r += inl(r);
    other(&local, 2.5);
    g_t = local; g_col = GREEN;
    r += walk(&g_first, 1); hook();
    return r + s_counter;
}
