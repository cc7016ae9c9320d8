/// A memory vector beside a plain array of bytes with a list of ranges, both driven by the same
/// steps. Shared by the suite and the fuzzer; the module "memory vector" must have started.
#pragma once

#include <algorithm>
#include <cstring>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "base/memory/memvec.h"
#include "base/memory/typed_memory.h"

namespace kr::test {

class memvec_model {
public:
    /// Runs the steps that `input` encodes. Returns an empty text, or what went wrong first.
    static std::string run(std::span<const u8> input) {
        memvec_model model(input);
        while (!model.input_.empty() && model.error_.empty()) {
            model.step();
        }
        model.compare_everything();
        return model.error_;
    }

private:
    static constexpr u32 not_backed = 0;
    static constexpr u32 alien = 77;

    struct range {
        u64 start;
        u64 size;
        u32 type;
    };
    struct mark {
        kr_memvec_cursor* cursor;
        u64 position;
    };
    struct loan {
        u64 start;
        std::vector<u8> memory;
    };

    explicit memvec_model(std::span<const u8> input) : input_(input), bytes_(take() % 250 + 1u) {
        ranges_ = {{0, bytes_.size(), not_backed}};
        kr_memvec_cursor* first = nullptr;
        expect(KR_SUCCESS, kr_memvec_create(bytes_.size(), &first), "create");
        marks_ = {{first, 0}};
    }
    ~memvec_model() { kr_memvec_destroy(marks_.front().cursor); }

    u8 take() {
        const u8 value = input_.empty() ? u8{0} : input_.front();
        input_ = input_.subspan(input_.empty() ? 0 : 1);
        return value;
    }

    void expect(kr_result expected, kr_result actual, const char* what) {
        expect(kr_result_failed(expected) == kr_result_failed(actual) &&
                   kr_result_code(expected) == kr_result_code(actual),
               what);
    }
    void expect(bool right, const char* what) {
        if (!right && error_.empty()) {
            error_ = what + (" in step " + std::to_string(steps_));
        }
    }
    static kr_result invalid() { return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION); }
    static kr_result missing() { return kr_result_make_error(KR_FUNCTION_NOT_IMPLEMENTED); }

    auto range_at(u64 position) {
        return std::find_if(ranges_.begin(), ranges_.end(),
                            [position](const range& r) { return position - r.start < r.size; });
    }
    void cut_at(u64 position) {
        const auto r = range_at(position);
        if (r != ranges_.end() && r->start != position) {
            const range rear = {position, r->start + r->size - position, r->type};
            r->size = position - r->start;
            ranges_.insert(r + 1, rear);
        }
    }

    kr_result split(u64 position, u64 size) {
        const range r = *range_at(position);
        const bool cuts = r.start != position || r.size > size;
        if (cuts && r.type != not_backed && r.type != KR_MEMORY_TYPE_HEAP) {
            return missing();
        }
        cut_at(position);
        if (size < range_at(position)->size) {
            cut_at(position + size);
        }
        return KR_SUCCESS;
    }

    /// Calls piece(range, offset from the start of the vector, size) along a backed range.
    template <typename Piece>
    kr_result walk(u64 position, u64 size, Piece piece) {
        if (size > bytes_.size() - position) {
            return invalid();
        }
        const u64 end = position + size;
        const auto overlaps = [&](const range& r) {
            return size != 0 && r.start < end && position < r.start + r.size;
        };
        for (const range& r : ranges_) {
            if (overlaps(r) && r.type == not_backed) {
                return invalid();
            }
        }
        for (const range& r : ranges_) {
            if (overlaps(r)) {
                const u64 from = std::max(position, r.start);
                const u64 length = std::min(end, r.start + r.size) - from;
                if (const kr_result result = piece(r, from, length); kr_result_failed(result)) {
                    return result;
                }
            }
        }
        return KR_SUCCESS;
    }

    void step() {
        ++steps_;
        const u8 operation = take();
        const auto index = static_cast<std::size_t>(take() % marks_.size());
        const mark at = marks_[index];
        const u64 size = take();
        const range r = *range_at(at.position);
        const u64 left = r.start + r.size - at.position;
        std::vector<u8> buffer(256, static_cast<u8>(steps_));
        switch (operation % 10) {
        case 0: {
            const auto offset = static_cast<i32>(static_cast<i8>(size)) * 2;
            const u64 target = at.position + static_cast<u64>(i64{offset});
            kr_memvec_cursor* cursor = nullptr;
            expect(target >= bytes_.size() ? invalid()
                   : marks_.size() == 128  ? missing()
                                           : KR_SUCCESS,
                   kr_memvec_seek(at.cursor, offset, &cursor), "seek");
            if (cursor != nullptr) {
                marks_.push_back({cursor, target});
            }
            break;
        }
        case 1:
            if (marks_.size() > 1) {
                kr_memvec_release(at.cursor);
                marks_.erase(marks_.begin() + static_cast<std::ptrdiff_t>(index));
            }
            break;
        case 2:
            expect(split(at.position, size), kr_memvec_split(at.cursor, size), "split");
            break;
        case 3: {
            kr_result expected = split(at.position, size);
            const auto found = range_at(at.position);
            if (kr_result_succeeded(expected) && found->size != size) {
                expected = missing();
            }
            expect(expected, kr_memvec_prepare(at.cursor, size), "prepare");
            if (kr_result_succeeded(expected) && found->type == not_backed) {
                found->type = KR_MEMORY_TYPE_HEAP;
                kr_memvec_fill(at.cursor, 0, size);
                std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(at.position), size, u8{0});
            }
            break;
        }
        case 4:
            assign(at, size % 2 != 0 ? left : size, left, r);
            break;
        case 5:
            expect(r.type == not_backed                           ? invalid()
                   : r.type != KR_MEMORY_TYPE_HEAP || size > left ? missing()
                                                                  : KR_SUCCESS,
                   kr_memvec_copy(KR_MEMORY_TYPE_HEAP, buffer.data(), KR_MEMORY_TYPE_MEMVEC,
                                  at.cursor, size),
                   "copy out");
            if (r.type == KR_MEMORY_TYPE_HEAP && size <= left) {
                expect(std::memcmp(buffer.data(), &bytes_[at.position], size) == 0,
                       "bytes copied out");
            }
            break;
        case 6: {
            const kr_result expected = r.type == not_backed || size > left ? invalid()
                                       : r.type != KR_MEMORY_TYPE_HEAP     ? missing()
                                                                           : KR_SUCCESS;
            expect(expected,
                   kr_memvec_copy(KR_MEMORY_TYPE_MEMVEC, at.cursor, KR_MEMORY_TYPE_HEAP,
                                  buffer.data(), size),
                   "copy in");
            if (kr_result_succeeded(expected)) {
                std::memcpy(&bytes_[at.position], buffer.data(), size);
            }
            break;
        }
        case 7:
            expect(walk(at.position, size,
                        [&](const range& piece, u64 from, u64 length) {
                            if (piece.type != KR_MEMORY_TYPE_HEAP) {
                                return missing();
                            }
                            std::memset(&bytes_[from], buffer[0], length);
                            return KR_SUCCESS;
                        }),
                   kr_memvec_write(at.cursor, buffer.data(), size), "write");
            break;
        case 8:
            read(at, size);
            break;
        default:
            kr_memvec_fill(at.cursor, buffer[0], size);
            static_cast<void>(
                walk(at.position, size, [&](const range& piece, u64 from, u64 length) {
                    if (piece.type != alien) {
                        std::memset(&bytes_[from], buffer[0], length);
                    }
                    return KR_SUCCESS;
                }));
        }
    }

    void assign(const mark& at, u64 size, u64 left, const range& r) {
        static constexpr u32 types[] = {KR_MEMORY_TYPE_HEAP, KR_MEMORY_TYPE_HEAP,
                                        KR_MEMORY_TYPE_HEAP, KR_MEMORY_TYPE_FLAT, alien};
        const u32 type = types[steps_ % std::size(types)];
        loan& lent = loans_.emplace_back();
        lent.start = at.position;
        lent.memory.assign(size + 1, u8(steps_));
        lent.memory.resize(size);
        const bool borrows = r.type == not_backed && left == r.size && size == left;
        const bool copies = r.type == KR_MEMORY_TYPE_HEAP && size <= left;
        expect(borrows || (copies && type == KR_MEMORY_TYPE_HEAP) ? KR_SUCCESS : missing(),
               kr_memvec_assign(KR_MEMORY_TYPE_MEMVEC, at.cursor, type, lent.memory.data(), size),
               "assign");
        if (borrows || (copies && type == KR_MEMORY_TYPE_HEAP)) {
            std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(at.position), size,
                        u8(steps_));
        }
        if (borrows) {
            range_at(at.position)->type = type;
        } else {
            loans_.pop_back();
        }
    }

    void read(const mark& at, u64 size) {
        std::vector<u8> found(256, 0xEE);
        std::vector<u8> expected = found;
        expect(walk(at.position, size,
                    [&](const range& piece, u64 from, u64 length) {
                        if (piece.type != KR_MEMORY_TYPE_HEAP) {
                            return missing();
                        }
                        std::memcpy(&expected[from - at.position], &bytes_[from], length);
                        return KR_SUCCESS;
                    }),
               kr_memvec_read(found.data(), at.cursor, size), "read");
        expect(found == expected, "bytes read");
    }

    /// Reads every range from a cursor of its own and looks into every block that was lent.
    void compare_everything() {
        for (std::size_t i = 0; i < marks_.size(); ++i) {
            const range& r = *range_at(marks_[i].position);
            read(marks_[i], r.start + r.size - marks_[i].position);
        }
        for (const loan& lent : loans_) {
            expect(std::equal(lent.memory.begin(), lent.memory.end(),
                              bytes_.begin() + static_cast<std::ptrdiff_t>(lent.start)),
                   "bytes of lent memory");
        }
    }

    std::span<const u8> input_;
    std::vector<u8> bytes_;
    std::vector<range> ranges_;
    std::vector<mark> marks_;
    std::deque<loan> loans_;
    std::string error_;
    u32 steps_ = 0;
};

} // namespace kr::test
