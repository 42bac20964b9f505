// bench on the build machine: the multivalue library and its store, without the component; see
// ./kel bench --host. Nothing in it is a test.
//
//   bench FOLDER            the tables of measurements; accounts are made in FOLDER
//   bench --memory ACCOUNT  its own child
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include "bench/native/native.h"
#include "bench/timing.h"

namespace {

std::string Processor() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(": ") + 2);
        }
    }
    return "unknown processor";
}

int Run(int count, char** arguments) {
    using namespace kel::bench;  // NOLINT(google-build-using-namespace): in one function
    if (count == 3 && std::string_view(arguments[1]) == "--memory") {
        SelectForMemory(arguments[2]);
        return 0;
    }
    if (count != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    std::printf("%s, %u cores, native\n", Processor().c_str(), std::thread::hardware_concurrency());
    MeasureRecords(folder);
    MeasureSelections(folder);
    MeasureArrays();
    MeasureConversions();
    MeasureMemory(folder, std::filesystem::read_symlink("/proc/self/exe"));
    std::printf("\n%d targets missed\n", MissedTargets());
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    try {
        return Run(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
