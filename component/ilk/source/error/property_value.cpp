// Construction and destruction of property values.

#include <component/ilk/error/property_value.h>

#include <component/ilk/error/type_script.h>

#include <cstring>

namespace ilk {
namespace {

template <class T>
PropertyValue MakePlainValue(T value) {
    TypeLayout layout;
    layout.size = sizeof(T);
    return PropertyValue(layout, kPropertyType<T>, &value);
}

}   // namespace

PropertyValue::PropertyValue(const TypeLayout& valueLayout, std::uint32_t typeNumber, const void* source)
    : layout(valueLayout), type_number(typeNumber) {
    if (layout.size == 0) return;
    const AllocatorRef heap;
    void* const block = heap.Alloc(layout.size);
    if (block == nullptr) ThrowBadAlloc();
    BlockHolder newBlock;
    newBlock.Hold(heap, block);
    if ((layout.flags & TypeLayout::kCopyBytes) != 0) {
        std::memcpy(block, source, layout.size);
    } else {
        CopyByScript(layout, block, source);
    }
    newBlock.Detach();
    storage = block;
}

PropertyValue::PropertyValue(PropertyValue&& source) noexcept : type_number(0) { swap(source); }

PropertyValue::~PropertyValue() {
    if (storage == nullptr) return;
    if ((layout.flags & TypeLayout::kDestroyFree) == 0) DestroyByScript(layout, storage);
    AllocatorRef().Free(storage);
}

void PropertyValue::swap(PropertyValue& other) noexcept {
    std::swap(layout, other.layout);
    std::swap(storage, other.storage);
    std::swap(type_number, other.type_number);
}

PropertyValue MakeResultValue(ResultCode code) { return MakePlainValue(code); }

PropertyValue MakePlatformErrorValue(PlatformError error) { return MakePlainValue(error.number); }

}   // namespace ilk
