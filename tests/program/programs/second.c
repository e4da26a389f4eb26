// Second unit of the C program: a declared structure, a recursive function, a weak and an aliased one.
struct node { struct node* pNext; int value; struct { unsigned low : 4; unsigned high : 12; } parts; };
extern struct node g_first;
struct node g_second = {0, 2, {1, 2}};
struct node g_first = {&g_second, 1, {3, 4}};
long long g_total;
__attribute__((noinline)) int walk(const struct node* pNode, int depth)
{
    int here = pNode->value * depth;
    if (pNode->pNext) here += walk(pNode->pNext, depth + 1);
    g_total += here;
    return here;
}
__attribute__((weak)) void hook(void) { g_total++; }
void hook_alias(void) __attribute__((alias("hook")));
