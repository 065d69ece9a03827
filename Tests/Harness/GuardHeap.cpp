// Global operator new and delete of the hardened build. Every block ends at a page that faults, so that reading or
// writing past the end stops the program where it happens; a block given back faults on use. There is one heap in a
// process, which all its modules share: memory may be taken in one and given back in another, or after it was unloaded.
//
// Blocks lie in slots, each a power of two of pages and one more that stays inaccessible. Slots of one size lie in
// regions that are reserved once: to take a block is to make the pages that it needs at the end of its slot accessible,
// to give it back is to end that.

#include <windows.h>

#include <intrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace
{

constexpr std::size_t pageSize = 4096;
constexpr std::size_t regionSize = std::size_t{64} << 20;
constexpr std::size_t largest = std::size_t{1} << 40;
constexpr std::size_t sizes = 30;
// So many blocks of its size are given back before a slot is used again, so that late uses of a block fault.
constexpr std::size_t rest = 1024;
// Small ones keep their memory meanwhile, which is quicker than to get it again.
constexpr std::size_t mostKept = 4;
constexpr unsigned char freshByte = 0xCD;
constexpr unsigned char gapByte = 0xFD;

struct SLOT
{
    unsigned char* user; // null while it is given back, or was never taken
    std::size_t size;
    std::size_t pages; // committed
    unsigned char* end;
    SLOT* next; // given back after it
};

struct REGION
{
    unsigned char* start;
    unsigned char* end;
    std::size_t slotSize;
    std::size_t used;
    SLOT* slots;
    REGION* next;
};

struct KIND
{
    REGION* region; // the newest, with slots that were never used
    SLOT* first;    // the one that was given back longest ago
    SLOT* last;
    std::size_t resting;
};

struct HEAP
{
    SRWLOCK lock;
    REGION* regions;
    KIND kinds[sizes]; // 1, 2, 4, ... pages
};

class LOCK
{
  public:
    explicit LOCK(HEAP& heap) : m_lock(heap.lock) { AcquireSRWLockExclusive(&m_lock); }
    ~LOCK() { ReleaseSRWLockExclusive(&m_lock); }
    LOCK(const LOCK&) = delete;
    LOCK& operator=(const LOCK&) = delete;

  private:
    SRWLOCK& m_lock;
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

template <typename T>
T* Allocate(std::size_t count = 1) noexcept
{
    return static_cast<T*>(VirtualAlloc(nullptr, count * sizeof(T), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

// The first module makes the heap; the others find it through a section that is named after the process.
HEAP* Join() noexcept
{
    wchar_t name[40] = {};
    _snwprintf(name, 39, L"RavGuardHeap-%lu", GetCurrentProcessId());
    const HANDLE section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(void*), name);
    void* const view = section ? MapViewOfFile(section, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(void*)) : nullptr;
    HEAP* const made = Allocate<HEAP>();
    if (!view || !made)
        Trap("guard heap: no memory to begin with\n");
    void* const other = InterlockedCompareExchangePointer(static_cast<void* volatile*>(view), made, nullptr);
    UnmapViewOfFile(view);
    if (!other)
        return made; // the section stays for the others
    CloseHandle(section);
    VirtualFree(made, 0, MEM_RELEASE);
    return static_cast<HEAP*>(other);
}

HEAP& Heap() noexcept
{
    static HEAP& s_heap = *Join();
    return s_heap;
}

REGION* NewRegion(HEAP& heap, std::size_t slotSize) noexcept
{
    const std::size_t count = std::max<std::size_t>(regionSize / slotSize, 1);
    auto* const start =
        static_cast<unsigned char*>(VirtualAlloc(nullptr, count * slotSize, MEM_RESERVE, PAGE_NOACCESS));
    SLOT* const slots = start ? Allocate<SLOT>(count) : nullptr;
    REGION* const region = slots ? Allocate<REGION>() : nullptr;
    if (region)
        return heap.regions = ::new (static_cast<void*>(region))
                   REGION{start, start + count * slotSize, slotSize, 0, slots, heap.regions};
    if (slots)
        VirtualFree(slots, 0, MEM_RELEASE);
    if (start)
        VirtualFree(start, 0, MEM_RELEASE);
    return nullptr;
}

KIND& KindOf(HEAP& heap, std::size_t pages) noexcept
{
    return heap.kinds[std::bit_width(pages - 1)];
}

SLOT* TakeSlot(std::size_t pages) noexcept
{
    HEAP& heap = Heap();
    const LOCK lock(heap);
    KIND& kind = KindOf(heap, pages);
    if (kind.resting > rest)
    {
        --kind.resting;
        SLOT* const slot = kind.first;
        kind.first = slot->next;
        return slot;
    }
    const std::size_t slotSize = (std::bit_ceil(pages) + 1) * pageSize;
    REGION* region = kind.region;
    if (!region || region->start + (region->used + 1) * slotSize > region->end)
        region = NewRegion(heap, slotSize);
    if (!region)
        return nullptr;
    kind.region = region;
    SLOT* const slot = &region->slots[region->used++];
    slot->end = region->start + region->used * slotSize - pageSize;
    return slot;
}

void Rest(SLOT* slot) noexcept
{
    HEAP& heap = Heap();
    const LOCK lock(heap);
    KIND& kind = KindOf(heap, slot->pages);
    slot->next = nullptr;
    (kind.resting++ != 0 ? kind.last->next : kind.first) = slot;
    kind.last = slot;
}

// The block is nobody else's from here on: of two who give it back one finds nothing.
SLOT* Claim(const unsigned char* user) noexcept
{
    HEAP& heap = Heap();
    const LOCK lock(heap);
    const REGION* region = heap.regions;
    while (region && (user < region->start || user >= region->end))
        region = region->next;
    SLOT* const slot =
        region ? &region->slots[static_cast<std::size_t>(user - region->start) / region->slotSize] : nullptr;
    if (!slot || !slot->user)
        Trap("guard heap: deleted twice, or never allocated\n");
    if (slot->user != user)
        Trap("guard heap: deleted what operator new did not return\n");
    slot->user = nullptr;
    return slot;
}

bool IsGap(const unsigned char* from, const unsigned char* to) noexcept
{
    const auto size = static_cast<std::size_t>(to - from);
    return size == 0 || (*from == gapByte && std::memcmp(from, from + 1, size - 1) == 0);
}

void* Take(std::size_t size, std::size_t alignment) noexcept
{
    alignment = std::max<std::size_t>(alignment, 16);
    if (size > largest || alignment > largest)
        return nullptr;
    const std::size_t bytes = alignment > pageSize ? size + alignment : (size + alignment - 1) & ~(alignment - 1);
    const std::size_t pages = std::max<std::size_t>((bytes + pageSize - 1) / pageSize, 1);
    SLOT* const slot = TakeSlot(pages);
    if (!slot)
        return nullptr;
    unsigned char* const start = slot->end - pages * pageSize;
    slot->pages = pages;
    if (!VirtualAlloc(start, pages * pageSize, MEM_COMMIT, PAGE_READWRITE))
    {
        Rest(slot);
        return nullptr;
    }
    unsigned char* user = slot->end - size;
    user -= reinterpret_cast<std::uintptr_t>(user) % alignment;
    std::memset(start, gapByte, static_cast<std::size_t>(user - start));
    std::memset(user, freshByte, size);
    std::memset(user + size, gapByte, static_cast<std::size_t>(slot->end - user) - size);
    slot->size = size;
    slot->user = user;
    return user;
}

void GiveBack(void* pointer) noexcept
{
    if (!pointer)
        return;
    auto* const user = static_cast<unsigned char*>(pointer);
    SLOT* const slot = Claim(user);
    unsigned char* const start = slot->end - slot->pages * pageSize;
    if (!IsGap(user + slot->size, slot->end))
        Trap("guard heap: written past the end of a block\n");
    if (!IsGap(start, user))
        Trap("guard heap: written before the start of a block\n");
    DWORD old = 0;
    if (slot->pages > mostKept || !VirtualProtect(start, slot->pages * pageSize, PAGE_NOACCESS, &old))
        VirtualFree(start, slot->pages * pageSize, MEM_DECOMMIT);
    Rest(slot);
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
