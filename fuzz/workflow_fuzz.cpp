// Fuzz target: the real main window between a library and an operator that act as the input says.
#include "fuzz_file.h"
#include "storage/paths.h"
#include "support/random_operator.h"

#include <cstdio>
#include <filesystem>

// Saved images go to memory: a disk would be waited for with every one of them.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    const std::string memory = "/dev/shm/workflow_fuzz_" + std::to_string(getpid());
    std::filesystem::create_directories(memory);
    std::error_code exists;
    std::string link = AutoSaveFolder(ProgramFolder(nullptr));
    link.pop_back();
    if (std::filesystem::is_symlink(link)) {
        std::filesystem::remove_all(std::filesystem::read_symlink(link));
        std::filesystem::remove(link);
    }
    std::filesystem::create_directory_symlink(memory, link, exists);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Story story = ActAtRandom({data, size});
    for (const std::string& line : story.faults.empty() ? story.faults : story.lines) {
        std::fprintf(stderr, "%s\n", line.c_str());
    }
    for (const std::string& fault : story.faults) {
        std::fprintf(stderr, "fault: %s\n", fault.c_str());
    }
    Require(story.faults.empty());
    return 0;
}
