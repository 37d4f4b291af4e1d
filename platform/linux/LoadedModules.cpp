#include "platform/linux/LoadedModules.h"

#include "platform/linux/FaultGuard.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

namespace zorbel {

namespace {

/// Unlike dladdr() this takes no lock.
bool find(const void* code, dl_find_object& found) noexcept {
    return _dl_find_object(const_cast<void*>(code), &found) == 0 && found.dlfo_link_map != nullptr;
}

std::size_t padded(std::size_t size) noexcept {
    return (size + 3) & ~std::size_t{3};
}

/// From the notes at [at, end), "" where none is a build id.
std::string_view buildIdIn(const char* at, const char* end) noexcept {
    constexpr std::size_t longest = 64;
    while (end - at >= static_cast<std::ptrdiff_t>(sizeof(ElfW(Nhdr)))) {
        ElfW(Nhdr) note;
        std::memcpy(&note, at, sizeof note);
        const char* const name = at + sizeof note;
        const auto room = static_cast<std::size_t>(end - name);
        const std::size_t nameSize = padded(note.n_namesz);
        if (nameSize > room || padded(note.n_descsz) > room - nameSize)
            return {};
        if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == 4 && std::memcmp(name, "GNU", 4) == 0)
            return {name + nameSize, std::min<std::size_t>(note.n_descsz, longest)};
        at = name + nameSize + padded(note.n_descsz);
    }
    return {};
}

/// The module's header lies at the start of its mapping, and what it points to here within.
std::string_view buildIdOf(const dl_find_object& module) noexcept {
    const char* const begin = static_cast<const char*>(module.dlfo_map_start);
    const char* const end = static_cast<const char*>(module.dlfo_map_end);
    const auto size = static_cast<std::size_t>(end - begin);
    if (size < sizeof(ElfW(Ehdr)) || std::memcmp(begin, ELFMAG, SELFMAG) != 0)
        return {};
    ElfW(Ehdr) header;
    std::memcpy(&header, begin, sizeof header);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        const std::size_t at = header.e_phoff + i * sizeof(ElfW(Phdr));
        if (at > size - sizeof(ElfW(Phdr)))
            return {};
        ElfW(Phdr) part;
        std::memcpy(&part, begin + at, sizeof part);
        if (part.p_type != PT_NOTE)
            continue;
        const char* const notes = reinterpret_cast<const char*>(module.dlfo_link_map->l_addr + part.p_vaddr);
        if (notes < begin || notes > end || part.p_memsz > static_cast<std::size_t>(end - notes))
            continue;
        if (const auto id = buildIdIn(notes, notes + part.p_memsz); !id.empty())
            return id;
    }
    return {};
}

} // namespace

std::string_view LoadedModules::nameOf(const link_map& module) const noexcept {
    const std::string_view path = module.l_name ? module.l_name : "";
    // The folders may name the user.
    return path.empty() ? program_ : path.substr(path.rfind('/') + 1);
}

void LoadedModules::describe(FixedText<512>& to, const void* code) noexcept {
    FixedText<512> place;
    const bool there = FaultGuard::run([&] { describeModule(place, code); });
    to << (there ? place.view() : "?");
}

void LoadedModules::describeModule(FixedText<512>& place, const void* code) noexcept {
    dl_find_object found{};
    if (!find(code, found)) {
        place << "?";
        return;
    }
    const link_map* const module = found.dlfo_link_map;
    place << nameOf(*module) << "+0x";
    place.hex(reinterpret_cast<std::uintptr_t>(code) - module->l_addr);
    const auto isModule = [module](const Seen& seen) { return seen.module == module; };
    const auto end = seen_.begin() + seenCount_;
    if (seenCount_ == seen_.size() || std::any_of(seen_.begin(), end, isModule))
        return;
    FixedText<512> line;
    line << nameOf(*module) << " ";
    describeBuildId(line, code);
    line << "\n";
    seen_[seenCount_++] = {module, line};
}

void LoadedModules::writeBuildIds(int file) const noexcept {
    for (std::size_t i = 0; i < seenCount_; ++i)
        writeAll(file, seen_[i].line.view());
}

bool LoadedModules::contain(const void* code) noexcept {
    dl_find_object found{};
    return find(code, found);
}

void LoadedModules::describeBuildId(FixedText<512>& to, const void* code) noexcept {
    dl_find_object found{};
    const std::string_view id = find(code, found) ? buildIdOf(found) : std::string_view();
    if (id.empty())
        to << "unknown";
    else
        to.hexBytes(reinterpret_cast<const unsigned char*>(id.data()), id.size());
}

} // namespace zorbel
