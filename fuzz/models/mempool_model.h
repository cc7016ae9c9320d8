/// A pool beside its plain description: a list of elements in the order in which they came, of
/// which the first are handed out; an element that comes back is found by a scan and swapped to the
/// border. The first three bytes of the input are element size, growth and bound, the rest the
/// steps. Stands behind the allocator hooks while it runs.
#pragma once

#include <utility>
#include <vector>

#include "base/memory/mempool.h"
#include "models/input.h"
#include "owners.h"

namespace kr::test {

/// Counts the blocks that are out. A growth keeps or replaces the room for pointers, so that the
/// number of live blocks tells the number of elements.
class counted_blocks {
public:
    counted_blocks() {
        live = 0;
        kr_memory_set_hooks(
            [](void** out, size_t size) {
                *out = std::malloc(size);
                ++live;
                return kr_result{KR_SUCCESS};
            },
            [](void* block) {
                live -= block != nullptr ? 1 : 0;
                std::free(block);
            });
    }
    counted_blocks(const counted_blocks&) = delete;
    counted_blocks& operator=(const counted_blocks&) = delete;
    ~counted_blocks() {
        kr_memory_set_hooks(nullptr, nullptr);
        expect(live == 0);
    }

    static inline size_t live = 0;
};

class mempool_model {
public:
    mempool_model(u64 element_size, u32 grow, u32 max)
        : step_(grow != 0 ? grow : KR_MEMPOOL_DEFAULT_GROW_COUNT),
          bound_(max != 0 ? max : SIZE_MAX), made_(step_) {
        constexpr kr_time minute = {KR_TIME_UNIT_SECONDS, 60, 1};
        expect(kr_mempool_create(KR_TEXT("p"), element_size, KR_MEMPOOL_FAIL_WHEN_FULL, grow, max,
                                 &minute, 0, pool_.out()) == KR_SUCCESS);
        others_ = counted_blocks::live - made_; // the first elements are held to no bound
    }

    void take() {
        void* element = nullptr;
        const kr_result result = kr_mempool_alloc(pool_.get(), &element);
        if (used_ == made_ && made_ < bound_) {
            made_ = std::min(made_ + step_, bound_);
        }
        expect(counted_blocks::live - others_ == made_);
        if (used_ >= made_) {
            expect(result == kr_result_make_error(KR_MEMORY_POOL_IS_FULL));
            return;
        }
        expect(result == KR_SUCCESS);
        if (used_ == known_.size()) {
            expect(std::count(known_.begin(), known_.end(), element) == 0);
            known_.push_back(element);
        }
        expect(element == known_[used_++]);
    }

    void give(size_t place) {
        if (used_ != 0) {
            std::swap(known_[place % used_], known_[used_ - 1]);
            kr_mempool_free(pool_.get(), known_[--used_]);
        }
    }

    /// What is no element that is out changes nothing.
    void give_wrong(size_t place) {
        const size_t free = known_.size() - used_;
        kr_mempool_free(pool_.get(), free != 0 ? known_[used_ + place % free] : nullptr);
        kr_mempool_free(pool_.get(), known_.empty() ? static_cast<void*>(this)
                                                    : static_cast<char*>(known_[0]) + 1);
        kr_mempool_free(pool_.get(), reinterpret_cast<void*>(~std::uintptr_t{0} - place % 64));
    }

private:
    kr::owned_pool pool_;
    size_t step_, bound_, made_, others_ = 0, used_ = 0;
    std::vector<void*> known_;
};

inline void check_mempool(std::span<const u8> input) {
    constexpr u64 sizes[] = {1, 16, 24, 9000};
    if (input.size() < 3) {
        return;
    }
    const counted_blocks blocks;
    mempool_model pool(sizes[input[0] % 4], input[1] != 255 ? input[1] : 5000, input[2]);
    u32 place = 0;
    for (const u8 step : input.subspan(3)) {
        place = place * 16'777'619 + step;
        step % 16 < 10 ? pool.take() : pool.give(place);
        pool.give_wrong(place);
    }
}

} // namespace kr::test
