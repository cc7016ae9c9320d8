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

    /// One step as the input has it: at which cursor, how many bytes, and what is there.
    struct turn {
        size_t index;
        mark at;
        u64 size;
        range r;
        /// From the cursor to the end of its range.
        u64 left;
    };

    void step() {
        static constexpr void (memvec_model::*operations[])(const turn&) = {
            &memvec_model::seek,    &memvec_model::release_cursor, &memvec_model::split_at,
            &memvec_model::prepare, &memvec_model::assign,         &memvec_model::copy_out,
            &memvec_model::copy_in, &memvec_model::write,          &memvec_model::read_at,
            &memvec_model::fill};
        ++steps_;
        const u8 operation = take();
        const auto index = static_cast<size_t>(take() % marks_.size());
        const mark at = marks_[index];
        const u64 size = take();
        const range r = *range_at(at.position);
        buffer_.assign(256, static_cast<u8>(steps_));
        (this->*operations[operation % std::size(operations)])(
            {index, at, size, r, r.start + r.size - at.position});
    }

    void seek(const turn& t) {
        const auto offset = static_cast<i32>(static_cast<i8>(t.size)) * 2;
        const u64 target = t.at.position + static_cast<u64>(i64{offset});
        kr_memvec_cursor* cursor = nullptr;
        expect(target >= bytes_.size() ? invalid()
               : marks_.size() == 128  ? missing()
                                       : KR_SUCCESS,
               kr_memvec_seek(t.at.cursor, offset, &cursor), "seek");
        if (cursor != nullptr) {
            marks_.push_back({cursor, target});
        }
    }

    void release_cursor(const turn& t) {
        if (marks_.size() > 1) {
            kr_memvec_release(t.at.cursor);
            marks_.erase(marks_.begin() + static_cast<std::ptrdiff_t>(t.index));
        }
    }

    void split_at(const turn& t) {
        expect(split(t.at.position, t.size), kr_memvec_split(t.at.cursor, t.size), "split");
    }

    void prepare(const turn& t) {
        kr_result expected = split(t.at.position, t.size);
        const auto found = range_at(t.at.position);
        if (kr_result_succeeded(expected) && found->size != t.size) {
            expected = missing();
        }
        expect(expected, kr_memvec_prepare(t.at.cursor, t.size), "prepare");
        if (kr_result_succeeded(expected) && found->type == not_backed) {
            found->type = KR_MEMORY_TYPE_HEAP;
            kr_memvec_fill(t.at.cursor, 0, t.size);
            set_bytes(t.at.position, t.size, 0);
        }
    }

    void copy_out(const turn& t) {
        expect(t.r.type == not_backed                               ? invalid()
               : t.r.type != KR_MEMORY_TYPE_HEAP || t.size > t.left ? missing()
                                                                    : KR_SUCCESS,
               kr_memvec_copy(KR_MEMORY_TYPE_HEAP, buffer_.data(), KR_MEMORY_TYPE_MEMVEC,
                              t.at.cursor, t.size),
               "copy out");
        if (t.r.type == KR_MEMORY_TYPE_HEAP && t.size <= t.left) {
            expect(std::memcmp(buffer_.data(), &bytes_[t.at.position], t.size) == 0,
                   "bytes copied out");
        }
    }

    void copy_in(const turn& t) {
        const kr_result expected = t.r.type == not_backed || t.size > t.left ? invalid()
                                   : t.r.type != KR_MEMORY_TYPE_HEAP         ? missing()
                                                                             : KR_SUCCESS;
        expect(expected,
               kr_memvec_copy(KR_MEMORY_TYPE_MEMVEC, t.at.cursor, KR_MEMORY_TYPE_HEAP,
                              buffer_.data(), t.size),
               "copy in");
        if (kr_result_succeeded(expected)) {
            set_bytes(t.at.position, t.size, buffer_[0]);
        }
    }

    void write(const turn& t) {
        const auto piece = [&](const range& r, u64 from, u64 length) {
            if (r.type != KR_MEMORY_TYPE_HEAP) {
                return missing();
            }
            set_bytes(from, length, buffer_[0]);
            return KR_SUCCESS;
        };
        expect(walk(t.at.position, t.size, piece),
               kr_memvec_write(t.at.cursor, buffer_.data(), t.size), "write");
    }

    void read_at(const turn& t) { read(t.at, t.size); }

    void fill(const turn& t) {
        kr_memvec_fill(t.at.cursor, buffer_[0], t.size);
        const auto piece = [&](const range& r, u64 from, u64 length) {
            if (r.type != alien) {
                set_bytes(from, length, buffer_[0]);
            }
            return KR_SUCCESS;
        };
        (void)walk(t.at.position, t.size, piece);
    }

    void assign(const turn& t) {
        static constexpr u32 types[] = {KR_MEMORY_TYPE_HEAP, KR_MEMORY_TYPE_HEAP,
                                        KR_MEMORY_TYPE_HEAP, KR_MEMORY_TYPE_FLAT, alien};
        const u32 type = types[steps_ % std::size(types)];
        const u64 size = t.size % 2 != 0 ? t.left : t.size;
        loan& lent = loans_.emplace_back();
        lent.start = t.at.position;
        lent.memory.assign(size + 1, u8(steps_));
        lent.memory.resize(size);
        const bool borrows = t.r.type == not_backed && t.left == t.r.size && size == t.left;
        const bool copies = t.r.type == KR_MEMORY_TYPE_HEAP && size <= t.left;
        const bool done = borrows || (copies && type == KR_MEMORY_TYPE_HEAP);
        expect(done ? KR_SUCCESS : missing(),
               kr_memvec_assign(KR_MEMORY_TYPE_MEMVEC, t.at.cursor, type, lent.memory.data(), size),
               "assign");
        if (done) {
            set_bytes(t.at.position, size, u8(steps_));
        }
        if (borrows) {
            range_at(t.at.position)->type = type;
        } else {
            loans_.pop_back();
        }
    }

    void read(const mark& at, u64 size) {
        std::vector<u8> found(256, 0xEE);
        std::vector<u8> expected = found;
        const auto piece = [&](const range& r, u64 from, u64 length) {
            if (r.type != KR_MEMORY_TYPE_HEAP) {
                return missing();
            }
            std::memcpy(&expected[from - at.position], &bytes_[from], length);
            return KR_SUCCESS;
        };
        expect(walk(at.position, size, piece), kr_memvec_read(found.data(), at.cursor, size),
               "read");
        expect(found == expected, "bytes read");
    }

    void set_bytes(u64 start, u64 size, u8 value) {
        std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(start), size, value);
    }

    /// Reads every range from a cursor of its own and looks into every block that was lent.
    void compare_everything() {
        for (size_t i = 0; i < marks_.size(); ++i) {
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
    /// What a step copies and writes, and room for what it copies out.
    std::vector<u8> buffer_;
    std::vector<range> ranges_;
    std::vector<mark> marks_;
    std::deque<loan> loans_;
    std::string error_;
    u32 steps_ = 0;
};

} // namespace kr::test
