/// Log lines beside spdlog, fprintf and bare writes: the same fields, the same message. Names are
/// work/peer; compare the peers of one work only.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include "base/product.h"
#include "log/core.h"
#include "log/core_start.h"
#include "log/destinations/destinations.h"
#include "log/destinations/slots.h"
#include "log/line.h"
#include "log/stamp.h"
#include "printf/printf.h"
#include "threaded_process.h"

constinit const kr_product_record kr_product = {"bench", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

/// The fields of our line: date.milliseconds, logger, thread, level, message, function.
constexpr const char* pattern = "%y%m%d %H:%M:%S.%e; %8n:%t; %L; %v; %!()";

/// A folder of this run's own, so that no other user's link lies where a file is to be.
class scratch_folder {
public:
    scratch_folder() {
        if (::mkdtemp(path_) == nullptr) {
            std::abort();
        }
    }
    ~scratch_folder() { ::rmdir(path_); }
    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;

    [[nodiscard]] std::string file(const char* name) const {
        return path_ + ('/' + std::string(name));
    }

private:
    char path_[32] = "/tmp/kr_log_bench_XXXXXX";
};
const scratch_folder folder;

/// A log that runs for one benchmark.
class running_log {
public:
    running_log() {
        if (kr_result_failed(kr::detail::log_core_start())) {
            std::abort();
        }
        kr_log_category_masks[KR_LOG_MAIN].store(KR_LOG_INFO);
    }
    ~running_log() {
        (void)kr_log_set_destination(KR_TEXT("none"));
        kr::detail::log_main_slot.clear();
        (void)kr::detail::log_core_stop();
    }
    running_log(const running_log&) = delete;
    running_log& operator=(const running_log&) = delete;
};

void kr_line(int value) {
    KR_LOG_AS(KR_LOG_MAIN, KR_LOG_INFO, "serve_request", "request %d from %s took %u microseconds",
              value, "client-17", 1234u);
}

void spdlog_line(spdlog::logger& logger, int value) {
    logger.log(spdlog::source_loc{"file.cpp", 1, "serve_request"}, spdlog::level::info,
               "request {} from {} took {} microseconds", value, "client-17", 1234u);
}

/// What ours looks like, for those that write it without building it.
constexpr char ready_line[] = "240229 12:34:56.789.001;    bench:________:00001234; I(02); request "
                              "123456 from client-17 took 1234 microseconds; serve_request()\r\n";

void written_through_kr(benchmark::State& state) {
    const running_log log;
    const std::string path = folder.file("kr");
    const std::u16string spec = u"file://" + std::u16string(path.begin(), path.end());
    (void)kr_log_set_destination(spec.c_str());
    int i = 100'000;
    for (auto iteration : state) {
        kr_line(i++);
    }
    ::unlink(path.c_str());
}
BENCHMARK(written_through_kr)->Name("line_written_through/kr");

void written_through_spdlog(benchmark::State& state) {
    const std::string path = folder.file("spdlog");
    spdlog::logger logger("bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path));
    logger.set_pattern(pattern);
    logger.flush_on(spdlog::level::trace);
    int i = 100'000;
    for (auto iteration : state) {
        spdlog_line(logger, i++);
    }
    ::unlink(path.c_str());
}
BENCHMARK(written_through_spdlog)->Name("line_written_through/spdlog");

void written_through_write(benchmark::State& state) {
    const std::string path = folder.file("write");
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    for (auto iteration : state) {
        benchmark::DoNotOptimize(::write(file, ready_line, sizeof(ready_line) - 1));
    }
    ::close(file);
    ::unlink(path.c_str());
}
BENCHMARK(written_through_write)->Name("line_written_through/write");

void written_through_fprintf(benchmark::State& state) {
    const std::string path = folder.file("fprintf");
    std::FILE* const file = std::fopen(path.c_str(), "a");
    int i = 100'000;
    for (auto iteration : state) {
        std::fprintf(file,
                     "%02d%02d%02d %02d:%02d:%02d.%03d.%03d; %8s:%s:%08X; I(%02d); request %d from "
                     "%s took %u microseconds; %s()\n",
                     24, 2, 29, 12, 34, 56, 789, 1, "bench", "________", 0x1234u, 2, i++,
                     "client-17", 1234u, "serve_request");
        std::fflush(file);
    }
    std::fclose(file);
    ::unlink(path.c_str());
}
BENCHMARK(written_through_fprintf)->Name("line_written_through/fprintf");

/// Counts what it is given.
void counting_write(void* context, const kr_char* line, size_t size_bytes) {
    benchmark::DoNotOptimize(line);
    *static_cast<u64*>(context) += size_bytes;
}

template <typename Mutex>
class counting_sink final : public spdlog::sinks::base_sink<Mutex> {
    void sink_it_(const spdlog::details::log_msg& message) override {
        spdlog::memory_buf_t buffer;
        this->formatter_->format(message, buffer);
        benchmark::DoNotOptimize(buffer.data());
        size_ += buffer.size();
    }
    void flush_() override {}
    u64 size_ = 0;
};

/// Where a line goes that is made and then not used: the file gets bytes that lie ready.
void ready_write(void* context, const kr_char* line, size_t /*size_bytes*/) {
    benchmark::DoNotOptimize(line);
    benchmark::DoNotOptimize(
        ::write(*static_cast<int*>(context), ready_line, sizeof(ready_line) - 1));
}

void made_then_write(benchmark::State& state) {
    const running_log log;
    const std::string path = folder.file("made");
    int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    kr::detail::log_main_slot.set({0, &file, ready_write, nullptr});
    int i = 100'000;
    for (auto iteration : state) {
        kr_line(i++);
    }
    kr::detail::log_main_slot.clear();
    ::close(file);
    ::unlink(path.c_str());
}
BENCHMARK(made_then_write)->Name("line_made_then_write/kr");

u64 counted = 0;

void counted_kr(benchmark::State& state) {
    static std::unique_ptr<running_log> log;
    if (state.thread_index() == 0) {
        log = std::make_unique<running_log>();
        kr::detail::log_main_slot.set({0, &counted, counting_write, nullptr});
    }
    int i = 100'000;
    for (auto iteration : state) {
        kr_line(i++);
    }
    if (state.thread_index() == 0) {
        log.reset();
    }
}
BENCHMARK(counted_kr)->Name("line_to_counter/kr");
BENCHMARK(counted_kr)->Name("line_to_counter_threads/kr")->ThreadRange(1, 8)->UseRealTime();

void counted_spdlog(benchmark::State& state) {
    static std::unique_ptr<spdlog::logger> logger;
    if (state.thread_index() == 0) {
        logger = std::make_unique<spdlog::logger>("bench",
                                                  std::make_shared<counting_sink<std::mutex>>());
        logger->set_pattern(pattern);
    }
    int i = 100'000;
    for (auto iteration : state) {
        spdlog_line(*logger, i++);
    }
    if (state.thread_index() == 0) {
        logger.reset();
    }
}
BENCHMARK(counted_spdlog)->Name("line_to_counter/spdlog");
BENCHMARK(counted_spdlog)->Name("line_to_counter_threads/spdlog")->Threads(2)->UseRealTime();

/// What a line costs besides its lock: the core's steps by themselves.
void unlocked_kr(benchmark::State& state) {
    kr::detail::stamp_clock clock;
    clock.clear();
    kr::detail::thread_label label = {};
    std::copy_n(u"________:00001234", kr::detail::thread_label_length, label.text);
    kr_char message[kr::detail::line_capacity];
    kr_char line[kr::detail::line_capacity];
    int i = 100'000;
    for (auto iteration : state) {
        clock.refresh();
        clock.count_line();
        size_t size = 0;
        benchmark::DoNotOptimize(kr_printf_format2_checked(
            message, sizeof(message), &size, "request %d from %s took %u microseconds", i++,
            "client-17", 1234u));
        const kr::detail::line_fields fields = {.stamp = &clock.stamp(),
                                                .domain = kr_product.name,
                                                .function = "serve_request",
                                                .thread = &label,
                                                .category = KR_LOG_MAIN,
                                                .level = KR_LOG_INFO,
                                                .depth = 0,
                                                .colors = false,
                                                .message = message,
                                                .message_length = size / sizeof(kr_char) - 1};
        counting_write(&counted, line,
                       kr::detail::build_line(kr::detail::line_layout::thread_first, fields, line));
    }
}
BENCHMARK(unlocked_kr)->Name("line_unlocked/kr");

void unlocked_spdlog(benchmark::State& state) {
    spdlog::logger logger("bench", std::make_shared<counting_sink<spdlog::details::null_mutex>>());
    logger.set_pattern(pattern);
    int i = 100'000;
    for (auto iteration : state) {
        spdlog_line(logger, i++);
    }
}
BENCHMARK(unlocked_spdlog)->Name("line_unlocked/spdlog");

void disabled_kr(benchmark::State& state) {
    const running_log log;
    int i = 0;
    for (auto iteration : state) {
        KR_LOG(KR_LOG_MAIN, KR_LOG_DEBUG, "request %d", i++);
    }
}
BENCHMARK(disabled_kr)->Name("disabled_line/kr");

/// One load and one test.
void disabled_loop(benchmark::State& state) {
    for (auto iteration : state) {
        if ((kr_log_category_masks[KR_LOG_MAIN].load(std::memory_order_relaxed) & KR_LOG_DEBUG) !=
            0) {
            benchmark::DoNotOptimize(iteration);
        }
    }
}
BENCHMARK(disabled_loop)->Name("disabled_line/loop");

void disabled_spdlog(benchmark::State& state) {
    spdlog::logger logger("bench", std::make_shared<spdlog::sinks::null_sink_mt>());
    logger.set_level(spdlog::level::off);
    int i = 0;
    for (auto iteration : state) {
        logger.info("request {}", i++);
    }
}
BENCHMARK(disabled_spdlog)->Name("disabled_line/spdlog");

} // namespace
