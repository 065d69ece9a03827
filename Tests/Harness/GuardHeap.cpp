// Global operator new and delete of the hardened build. Every block ends at a page that faults, so that reading or
// writing past the end stops the program where it happens; a block given back faults on use. Whatever finds a block
// does so by its address alone: memory may be taken in one module and given back in another.

#include <windows.h>

#include <intrin.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace
{

constexpr std::uintptr_t pageSize = 4096;
constexpr unsigned char freshByte = 0xCD;
constexpr unsigned char gapByte = 0xFD;
constexpr std::size_t blockMark = 0x4B4F4C42'44524147;

// At the start of the block's first page.
struct BLOCK
{
    std::size_t mark;
    unsigned char* user;
    std::size_t size;
    unsigned char* end;
};

[[noreturn]] void Trap(const char* reason)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), reason, static_cast<DWORD>(std::strlen(reason)), &written, nullptr);
    __debugbreak();
    TerminateProcess(GetCurrentProcess(), 3);
    for (;;)
    {
    }
}

void* Take(std::size_t size, std::size_t alignment) noexcept
{
    if (alignment < 16)
        alignment = 16;
    const std::size_t extra = sizeof(BLOCK) + alignment + 2 * pageSize;
    if (size > SIZE_MAX - extra)
        return nullptr;
    const std::size_t committed = (size + sizeof(BLOCK) + alignment + pageSize - 1) / pageSize * pageSize;
    auto* base = static_cast<unsigned char*>(VirtualAlloc(nullptr, committed + pageSize, MEM_RESERVE, PAGE_NOACCESS));
    if (!base)
        return nullptr;
    if (!VirtualAlloc(base, committed, MEM_COMMIT, PAGE_READWRITE))
    {
        VirtualFree(base, 0, MEM_RELEASE);
        return nullptr;
    }
    unsigned char* end = base + committed;
    unsigned char* user = end - size;
    user -= reinterpret_cast<std::uintptr_t>(user) % alignment;
    std::memset(user, freshByte, size);
    std::memset(user + size, gapByte, static_cast<std::size_t>(end - user) - size);
    ::new (static_cast<void*>(base)) BLOCK{blockMark, user, size, end};
    return user;
}

// Keeps the addresses of the last blocks from being used again at once, so that late uses of them fault.
std::atomic<void*> g_retired[256];
std::atomic<unsigned> g_nextRetired;

void Release(void* base) noexcept
{
    if (base)
        VirtualFree(base, 0, MEM_RELEASE);
}

void Retire(void* base) noexcept
{
    VirtualFree(base, static_cast<std::size_t>(static_cast<BLOCK*>(base)->end - static_cast<unsigned char*>(base)),
                MEM_DECOMMIT);
    Release(g_retired[g_nextRetired++ % 256].exchange(base));
}

// Each module has its own: one that is unloaded takes its retired blocks along.
struct RETIREMENT_END
{
    ~RETIREMENT_END()
    {
        for (std::atomic<void*>& block : g_retired)
            Release(block.exchange(nullptr));
    }
};
const RETIREMENT_END g_retirementEnd;

void GiveBack(void* pointer) noexcept
{
    if (!pointer)
        return;
    MEMORY_BASIC_INFORMATION memory;
    if (!VirtualQuery(pointer, &memory, sizeof(memory)) || memory.State != MEM_COMMIT)
        Trap("guard heap: deleted twice, or never allocated\n");
    const auto* block = static_cast<const BLOCK*>(memory.AllocationBase);
    if (block->mark != blockMark || block->user != pointer)
        Trap("guard heap: deleted what operator new did not return\n");
    for (const unsigned char* gap = block->user + block->size; gap != block->end; ++gap)
        if (*gap != gapByte)
            Trap("guard heap: written past the end of a block\n");
    Retire(memory.AllocationBase);
}

void* TakeOrThrow(std::size_t size, std::size_t alignment)
{
    void* pointer = Take(size, alignment);
    if (!pointer)
        throw std::bad_alloc();
    return pointer;
}

} // namespace

// clang-format off
void* operator new(std::size_t size) { return TakeOrThrow(size, 0); }
void* operator new[](std::size_t size) { return TakeOrThrow(size, 0); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Take(size, 0); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Take(size, 0); }
void* operator new(std::size_t size, std::align_val_t a) { return TakeOrThrow(size, static_cast<std::size_t>(a)); }
void* operator new[](std::size_t size, std::align_val_t a) { return TakeOrThrow(size, static_cast<std::size_t>(a)); }
void* operator new(std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept 
{
    return Take(size, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept 
{
    return Take(size, static_cast<std::size_t>(a));
}

void operator delete(void* p) noexcept { GiveBack(p); }
void operator delete[](void* p) noexcept { GiveBack(p); }
void operator delete(void* p, std::size_t) noexcept { GiveBack(p); }
void operator delete[](void* p, std::size_t) noexcept { GiveBack(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { GiveBack(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { GiveBack(p); }
void operator delete(void* p, std::align_val_t) noexcept { GiveBack(p); }
void operator delete[](void* p, std::align_val_t) noexcept { GiveBack(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { GiveBack(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { GiveBack(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { GiveBack(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { GiveBack(p); }
// clang-format on
