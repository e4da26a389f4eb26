// Records of every shape, their layouts, and code that keeps them alive.
#include "matrix.h"

struct flags {
    unsigned ready : 1;
    unsigned : 3;
    signed level : 5;
    unsigned long long wide : 37;
    unsigned char kind : 4, rest : 4;
    unsigned : 0;
    unsigned short tail : 9;
};

struct packet {
    unsigned char type;
    union {
        unsigned word;
        struct {
            unsigned short low, high;
        };
        unsigned char bytes[4];
    };
    struct {
        int x, y;
    } at;
    enum colour colour;
    unsigned char payload[];
};

struct __attribute__((packed)) frame {
    unsigned char head;
    unsigned length;
    unsigned long long stamp;
    unsigned bits : 11;
    unsigned more : 13;
};

struct node {
    struct node* pNext;
    const struct node* pOther;
    int (*pfCompare)(const struct node*, const struct node*);
    void (*apfHandler[3])(int, void*);
    int matrix[3][4];
    volatile short level;
};

union value {
    int i;
    float f;
    double d;
    struct flags flags;
    char text[12];
};

// One bit of a _Bool is 1 or 0, one of a signed number -1 or 0.
struct switches {
    _Bool isOn : 1, isOff : 1;
    signed sign : 1;
    enum colour colour : 4;
    _Bool isLast;
};
#if defined(__clang__)
_BitInt(17) g_bit17 = -5;
unsigned _BitInt(3) g_bit3 = 5;
_BitInt(40) g_bit40 = 0x123456789LL;
struct precise {
    _BitInt(7) a;
    unsigned _BitInt(24) b;
    _BitInt(9) field : 5;
} g_precise = {-3, 0xABCDEF, -7};
_Float16 g_half = 21.5;
#define PRECISE (*(volatile short*)&g_half + g_bit17 + g_bit3 + g_bit40 + g_precise.b)
#else
#define PRECISE 0
#endif

typedef struct node NODE;
typedef int VECTOR[4];

struct flags g_flags = {1, -3, 0x123456789AULL, 5, 6, 0x155};
struct frame g_frame = {0x7E, 0x01020304, 0x1122334455667788ULL, 0x5A5, 0x1234};
struct node g_node = {&g_node, &g_node, 0, {0}, {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, -12}}, -7};
const NODE* g_pNode = &g_node;
union value g_value = {.d = 2.5};
struct packet g_packet = {3, {0x01020304}, {-5, 6}, BLUE, {}};
struct switches g_switches = {1, 0, -1, RED, 1};
VECTOR g_vector = {1, 2, 3, 4};
enum colour g_colour = BLUE;
_Atomic int g_atomic = 40;
_Bool g_isReady = 1;
static unsigned long long s_count = 0xFFFFFFFFFFULL;
static struct packet* s_pPacket;
static unsigned char s_store[64];

int compare(const struct node* pA, const struct node* pB)
{
    return pA->level - pB->level;
}

struct frame make_frame(unsigned length, unsigned long long stamp)
{
    struct frame f = {0x7E, length, stamp, 3, 4};
    s_count += stamp;
    return f;
}

int use_records(int n)
{
    struct packet* pPacket = (struct packet*)s_store;
    s_pPacket = pPacket;
    pPacket->type = (unsigned char)n;
    pPacket->colour = g_colour;
    pPacket->payload[0] = 1;
    g_frame = make_frame((unsigned)n, s_count);
    g_node.pfCompare = compare;
    g_value.flags = g_flags;
    g_atomic++;
    g_isReady = n > 2;
    g_packet.at.x++;
    return compare(&g_node, g_pNode) + (int)s_pPacket->word + g_vector[n & 3] + g_switches.isOn + (int)PRECISE;
}
