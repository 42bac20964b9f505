// What the component holds on to, counted: whatever a group of tests leaves behind is a failure.
#pragma once

#include <string>
#include <vector>

namespace kel::tests {

struct ResourceCounts {
    long blocks = 0;         // automation strings, arrays and task memory
    long objects = 0;        // objects and locks of this module
    long lockedModules = 0;  // DLLs of the product that refuse to be unloaded
    long heaps = 0;          // private heaps
    long handles = 0;        // kernel handles; 0 when not counted
    long drawing = 0;        // GDI and USER objects

    friend bool operator==(const ResourceCounts&, const ResourceCounts&) = default;
};

// Starts counting memory blocks for the whole process. Before anything is allocated through the
// platform's task allocator, and once.
void StartResourceCounting();

// Lets go of what the component and COM keep only for speed.
void SettleResources();

// Some routines of the platform keep handles for ever, as registering a type library does in Wine.
// What is opened and not closed between construction and destruction is not held against the tests.
class ForgivenHandles {
public:
    ForgivenHandles();
    ForgivenHandles(const ForgivenHandles&) = delete;
    ForgivenHandles& operator=(const ForgivenHandles&) = delete;
    ~ForgivenHandles();

private:
    long before_;
};

// The same for memory blocks, which Wine's marshaller loses for every text that a proxy gets back.
class ForgivenBlocks {
public:
    ForgivenBlocks();
    ForgivenBlocks(const ForgivenBlocks&) = delete;
    ForgivenBlocks& operator=(const ForgivenBlocks&) = delete;
    ~ForgivenBlocks();

private:
    long before_;
};

// DLLs of the product that keep themselves loaded from here on are not held against the tests.
// Nothing of them may be in use at either end.
class ForgivenModules {
public:
    ForgivenModules();
    ForgivenModules(const ForgivenModules&) = delete;
    ForgivenModules& operator=(const ForgivenModules&) = delete;
    ~ForgivenModules();

private:
    long before_;
};

// Counts. Counting handles takes some tens of milliseconds.
ResourceCounts CountResources(bool withHandles);

// "2 more memory blocks; 1 more objects"; empty when nothing grew.
std::string Growth(const ResourceCounts& before, const ResourceCounts& after);

}  // namespace kel::tests
