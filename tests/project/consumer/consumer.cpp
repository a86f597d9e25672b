// The smallest host: an image in, its negative out, through the installed library.
#include <cstdio>
#include <velmont/velmont.h>

int main()
{
    void *const white = CreateDib(3, 2, 24, 2835, 0x00FFFFFF);
    void *const black = EnhanceAndEffects(white, 6, 0);
    const bool isBlack = CheckDibColor(black, 0x00000000) == 0;
    KelMemFree(black);
    KelMemFree(white);
    std::printf("Velmont %s: the negative of white is %s\n", VELMONT_VERSION,
                isBlack ? "black" : "not black");
    return isBlack ? 0 : 1;
}
