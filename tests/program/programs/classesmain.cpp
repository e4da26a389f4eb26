int use(int& ref, const char* s);
int main() { int v = 4; return use(v, "x"); }
