#!/usr/bin/env python3
"""Makes the programs that bench_open measures with: large.elf (about 100 MB of debug information, C++) and
small.elf (a firmware of about 400 KB, C).

    bench/make_large.py build/large [number of units]

The sources are generated, compiled with arm-none-eabi-g++ and linked once; what is up to date stays. Nothing of it
belongs into the repository."""
import pathlib
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

HEADER = """#pragma once
#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <variant>
#include <vector>
namespace rt {
extern volatile int sink;
enum class Level : unsigned char { Low, Mid, High };
struct Flags { unsigned a : 3; unsigned b : 7; int c : 5; };
template <class T, int N> class Ring {
    T data[N]; int head = 0, tail = 0;
public:
    bool push(const T& v) { int n = (head + 1) % N; if (n == tail) return false; data[head] = v; head = n; return true; }
    bool pop(T& v) { if (tail == head) return false; v = data[tail]; tail = (tail + 1) % N; return true; }
    int count() const { return (head - tail + N) % N; }
};
class Node {
public:
    virtual ~Node() = default;
    virtual int eval(int x) = 0;
    int depth = 0; Flags flags{}; union { int i; float f; struct { short lo, hi; }; } u{};
protected:
    static int instances;
};
}
"""


def unit(n: int) -> str:
    out = [f'#include "common.h"\nnamespace u{n} {{\n']
    for c in range(14):
        out.append(f"""
struct Rec{c} {{ int id; float w; char tag[{c + 3}]; rt::Level lv; Rec{c}* next; rt::Flags fl;
    bool operator<(const Rec{c}& o) const {{ return id < o.id; }} int key() const {{ return id * {c + 2} + int(w); }} }};
class Box{c} : public rt::Node {{
    rt::Ring<Rec{c}, {8 + c}> ring; std::vector<Rec{c}> items; std::map<int, Rec{c}> index; std::string name;
public:
    explicit Box{c}(int s) : name("box{n}_{c}") {{ for (int i = 0; i < s; i++) add(i); }}
    void add(int i) {{ Rec{c} r{{}}; r.id = i; r.w = float(i) / {c + 1}; items.push_back(r); index[i] = r; ring.push(r); }}
    int eval(int x) override {{
        int sum = depth; std::sort(items.begin(), items.end());
        for (auto& r : items) {{ if (r.key() > x) sum += r.key(); else {{ sum -= r.id; rt::sink = sum; }} }}
        auto f = [&](int k) {{ auto it = index.find(k); return it == index.end() ? -1 : it->second.key(); }};
        sum += std::accumulate(items.begin(), items.end(), 0, [](int a, const Rec{c}& r) {{ return a + r.id; }});
        return sum + f(x) + int(name.size());
    }}
}};
static int table{c}[{c + 4}] = {{1, 2, 3}};
int walk{c}(Rec{c}* p, int limit) {{
    int steps = 0; long long acc = 0; unsigned char b = 0;
    while (p && steps < limit) {{ acc += p->key(); b ^= (unsigned char)p->id; table{c}[steps % {c + 4}] += int(acc); p = p->next; steps++; }}
    switch (b & 7) {{ case 0: acc += 1; break; case 3: acc -= steps; break; case 5: rt::sink = b; break; default: acc ^= b; }}
    return int(acc) + b;
}}
int unused{c}(int a, int b) {{ int r = a; for (int i = 0; i < b; i++) r = r * {c + 3} + walk{c}(nullptr, i); return r; }}
template <class T> T mix{c}(T a, T b) {{ T r = a; for (int i = 0; i < 3; i++) r = r * b + T(i); return r; }}
""")
    out.append("int run(int x) {\n    int r = 0;\n")
    for c in range(14):
        out.append(f"    {{ Box{c} b(x + {c}); Rec{c} q{{}}; r += b.eval(x) + walk{c}(&q, x) + mix{c}<int>(r, x) + int(mix{c}<double>(r, x)); }}\n")
    out.append(f"""    std::unordered_map<std::string, std::shared_ptr<rt::Node>> m; m["a"] = std::make_shared<Box1>(x);
    std::variant<int, float, std::string> v = x; std::tuple<int, char, Rec2> t{{}};
    std::function<int(int)> f = [r](int k) {{ return r + k; }}; std::set<Rec3> s; std::deque<Rec4> d; std::list<Rec5> l;
    s.insert(Rec3{{}}); d.push_back(Rec4{{}}); l.push_back(Rec5{{}}); std::get<0>(t) = x;
    return r + f(x) + int(v.index()) + int(m.size() + s.size() + d.size() + l.size());
}}
}}
""")
    return "".join(out)


def small_source(n: int) -> str:
    out = ["#include <string.h>\n#include <stdlib.h>\n#include <stdio.h>\n"]
    for f in range(60):
        out.append(f"""
typedef struct {{ int a, b; unsigned m : 4, n : 12; char s[{f + 1}]; }} T{n}_{f};
static T{n}_{f} g{n}_{f}; volatile int v{n}_{f};
int f{n}_{f}(int x, const char* p) {{
    T{n}_{f}* q = &g{n}_{f}; int i, r = 0;
    for (i = 0; i < x; i++) {{ q->a += i; q->m = (unsigned)i; if (p && p[i] == '{chr(65 + f % 26)}') r += q->b; else v{n}_{f} = r; }}
    q->s[0] = (char)r; return r + (int)strlen(q->s);
}}
""")
    out.append(f"int run{n}(int x) {{ int r = 0;\n" + "".join(f"  r += f{n}_{f}(x, \"abc\");\n" for f in range(60)) + "  return r; }\n")
    return "".join(out)


def make(target: pathlib.Path, sources: list, command: list) -> None:
    if target.exists() and all(s.exists() and s.stat().st_mtime <= target.stat().st_mtime for s in sources):
        return
    subprocess.run(["nice", *command], check=True)


def write(path: pathlib.Path, text: str) -> pathlib.Path:
    if not path.exists() or path.read_text() != text:
        path.write_text(text)
    return path


def main() -> None:
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "build/large")
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 52
    folder.mkdir(parents=True, exist_ok=True)
    common = write(folder / "common.h", HEADER)
    cpu = ["-mcpu=cortex-m4", "-mthumb", "-ffunction-sections", "-fdata-sections"]
    jobs, objects = [], []
    for n in range(count):
        source = write(folder / f"unit{n}.cpp", unit(n))
        objects.append(source.with_suffix(".o"))
        level = ("-Og", "-O2", "-O1")[n % 3]
        jobs.append((objects[-1], [source, common],
                     ["arm-none-eabi-g++", "-std=c++17", "-g", level, *cpu, "-c", str(source), "-o", str(objects[-1])]))
    body = '#include "common.h"\nnamespace rt { volatile int sink; int Node::instances; }\n'
    body += "".join(f"namespace u{n} {{ int run(int); }}\n" for n in range(count))
    body += "int main() { int r = 0;\n" + "".join(f"  r += u{n}::run(r);\n" for n in range(count)) + "  return r; }\n"
    source = write(folder / "main.cpp", body)
    objects.append(source.with_suffix(".o"))
    jobs.append((objects[-1], [source, common],
                 ["arm-none-eabi-g++", "-std=c++17", "-g", "-Og", *cpu, "-c", str(source), "-o", str(objects[-1])]))
    with ThreadPoolExecutor(2) as pool:
        list(pool.map(lambda j: make(*j), jobs))
    link = ["-Wl,--gc-sections", "-Wl,-Ttext=0x8000000", "-Wl,-Tdata=0x20000000", "--specs=nosys.specs", "-Wl,--no-warn-rwx-segments"]
    make(folder / "large.elf", objects,
         ["arm-none-eabi-g++", *cpu, *link, *map(str, objects), "-o", str(folder / "large.elf")])
    small = [write(folder / f"small{n}.c", small_source(n)) for n in range(6)]
    small.append(write(folder / "smallmain.c", "".join(f"int run{n}(int);\n" for n in range(6)) +
                       "int main(void) { return " + " + ".join(f"run{n}({n})" for n in range(6)) + "; }\n"))
    make(folder / "small.elf", small, ["arm-none-eabi-gcc", "-g", "-Og", *cpu, *link, *map(str, small), "-o",
                                       str(folder / "small.elf")])


if __name__ == "__main__":
    main()
