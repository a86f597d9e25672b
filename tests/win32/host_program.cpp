// A host as other compilers build one: knows the module by its plain names only, loads it at run time, installs
// its callbacks, runs ten effects by code and frees what they give.
//
//     host_program MODULE

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>
#include <windows.h>

namespace {

constexpr unsigned kZeroFilled = 66;
constexpr int kWidth = 40, kHeight = 32, kStride = 3 * kWidth;
constexpr unsigned long kPixelsAt = 40;

HMODULE module;
int polls = 0;
std::string shown;

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "host_program: %s\n", what);
    std::exit(1);
}

template <typename Function>
Function *byName(const char *name)
{
    const FARPROC address = GetProcAddress(module, name);
    require(address != nullptr, name);
    Function *function;
    static_assert(sizeof function == sizeof address);
    std::memcpy(&function, &address, sizeof function);
    return function;
}

// The library's functions as this host declares them.
using Lock = void *(void *);
using Unlock = int(void *);
using Free = void(void *);
using Size = unsigned long(void *);
using Create = void *(int width, int height, int bits, int resolution, unsigned long color);
using Measure = int(void *dib, int *width, int *height);
using Run = void *(void *dib, unsigned code, long param);
using Turn = void *(void *dib, int angle, unsigned long background);
using Callbacks = void(int (*abort)(), void (*progress)(int percent));
using Allocate = void *(unsigned flags, unsigned long bytes);

struct Services {
    unsigned bytes;
    void *context;
    void (*setCursor)(void *context, int cursor);
    short (*keyState)(void *context, int key);
};
using Install = int(const Services *services);

int noteAbort()
{
    ++polls;
    return 0;
}

void noteProgress(int percent)
{
    require(percent >= 0 && percent <= 100, "progress beyond 100 per cent");
    shown += 'p';
}

void noteCursor(void *context, int cursor)
{
    require(context == &polls, "the cursor came without its context");
    shown += cursor == 32514 ? 'w' : cursor == 32512 ? 'a' : '?';
}

short noKey(void *, int)
{
    return 0;
}

std::vector<uint8_t> bytesOf(void *handle)
{
    const auto *const bytes = static_cast<const uint8_t *>(byName<Lock>("KelMemLock")(handle));
    require(bytes != nullptr, "a block could not be locked");
    std::vector<uint8_t> copy(bytes, bytes + byName<Size>("KelMemSize")(handle));
    require(byName<Unlock>("KelMemUnlock")(handle) == 0, "a lock was left behind");
    return copy;
}

/// A picture of slopes and noise, repeatable.
void *makePicture()
{
    void *const dib = byName<Create>("CreateDib")(kWidth, kHeight, 24, 2835, 0);
    require(dib != nullptr, "no picture");
    auto *const bytes = static_cast<uint8_t *>(byName<Lock>("KelMemLock")(dib));
    uint32_t state = 1;
    for (int i = 0; i < kStride * kHeight; ++i) {
        state = state * 1664525u + 1013904223u;
        bytes[kPixelsAt + static_cast<unsigned>(i)] = static_cast<uint8_t>(i / kStride * 5 + (state >> 26));
    }
    byName<Unlock>("KelMemUnlock")(dib);
    return dib;
}

template <typename Param>
long addressOf(Param &param)
{
    return reinterpret_cast<long>(&param);
}

void runTen(void *dib)
{
    int32_t brightness[] = {0, 20, 10}, bell[] = {5}, relief[] = {1, 2, 3, 0}, ray[] = {4, 7},
            amount[] = {30};
    const struct {
        unsigned code;
        long param;
    } effects[] = {{1, addressOf(brightness)},
                   {6, 0},
                   {17, addressOf(bell)},
                   {21, addressOf(bell)},
                   {23, 0},
                   {24, 0},
                   {53, addressOf(ray)},
                   {54, addressOf(relief)},
                   {36, addressOf(amount)},
                   {4305, 0}};
    const std::vector<uint8_t> before = bytesOf(dib);
    for (const auto &effect : effects) {
        shown.clear();
        polls = 0;
        void *const result = byName<Run>("EnhanceAndEffects")(dib, effect.code, effect.param);
        std::printf("effect %u: %d polls, %s\n", effect.code, polls, shown.c_str());
        require(result != nullptr, "an effect gave nothing");
        require(polls > 0 && shown.find('p') != std::string::npos, "an effect did not call back");
        require(shown.find('?') == std::string::npos, "an unknown cursor");
        int width = 0, height = 0;
        byName<Measure>("GetDibSize")(result, &width, &height);
        require(width == kWidth && height == kHeight, "an effect changed the size");
        require(bytesOf(result) != before, "an effect changed nothing");
        byName<Free>("KelMemFree")(result);
        require(byName<Lock>("KelMemLock")(result) == nullptr, "a freed result can be locked");
    }
    require(bytesOf(dib) == before, "an effect changed its source");
}

void checkNegative(void *dib)
{
    void *const negative = byName<Lock>("ProcessNegative")(dib);
    const std::vector<uint8_t> from = bytesOf(dib), to = bytesOf(negative);
    require(from.size() == to.size(), "the negative has another size");
    for (std::size_t i = kPixelsAt; i < from.size(); ++i)
        require(to[i] == 255 - from[i], "the negative is none");
    byName<Free>("KelMemFree")(negative);
}

void checkOverload(void *dib)
{
    void *const turned = byName<Turn>("ProcessRotate_3")(dib, 90, 0);
    int width = 0, height = 0;
    byName<Measure>("GetDibSize")(turned, &width, &height);
    require(width == kHeight && height == kWidth, "a quarter of a turn left the size");
    byName<Free>("KelMemFree")(turned);
}

} // namespace

int main(int argc, char **argv)
{
    require(argc == 2, "which module?");
    module = LoadLibraryA(argv[1]);
    require(module != nullptr, "the module could not be loaded");
    const Services services{sizeof services, &polls, noteCursor, noKey};
    require(byName<Install>("VelmontInstallPlatformServices")(&services) == 1, "services were refused");
    byName<Callbacks>("SetProcessEnvironment")(noteAbort, noteProgress);

    void *const dib = makePicture();
    runTen(dib);
    checkNegative(dib);
    checkOverload(dib);
    byName<Free>("KelMemFree")(dib);

    void *const block = byName<Allocate>("KelMemAlloc")(kZeroFilled, 100);
    require(bytesOf(block) == std::vector<uint8_t>(100), "a zero-filled block is not");
    byName<Free>("KelMemFree")(block);
    require(FreeLibrary(module) != 0, "the module could not be released");
    return 0;
}
