// bench on the build machine: the multivalue library and its store, without the component; see
// ./kel bench --host. Nothing in it is a test.
//
//   bench FOLDER            the tables of measurements; accounts are made in FOLDER
//   bench --memory ACCOUNT  its own child
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdio>
#include <exception>
#include <fstream>
#include <string>
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
    std::filesystem::path folder;
    std::string account;
    CLI::App program("Measures the multivalue library and its store.");
    CLI::Option* const place = program.add_option("FOLDER", folder, "where accounts are made");
    CLI::Option* const memory = program.add_option("--memory", account)->group("");  // its child
    try {
        program.parse(count, arguments);
        if (memory->count() + place->count() != 1) {
            throw CLI::RequiredError("FOLDER");
        }
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : 2;
    }
    if (memory->count() > 0) {
        SelectForMemory(account.c_str());
        return 0;
    }
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
