// consumer.cpp - uses the installed Base through its umbrella header.
#include <Base/Base.h>

#include <cstdio>

int main() {
    ky::hash_map<int, int> squares;
    for (int i = 0; i < 10; ++i) {
        squares[i] = i * i;
    }
    ky::map<int, int> ordered(squares.begin(), squares.end());
    if (ordered.size() != 10 || ordered.rbegin()->second != 81) {
        std::puts("consumer: unexpected contents");
        return 1;
    }
    std::puts("consumer: ok");
    return 0;
}
