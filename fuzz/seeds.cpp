// Writes the first inputs of the fuzz targets: seeds FOLDER, one folder a target below it.
#include "storage/header_fields.h"
#include "storage/q32_file.h"

#include <filesystem>
#include <fstream>
#include <random>

int main(int, char** arguments)
{
    const std::filesystem::path root = arguments[1];
    int number = 0;
    const auto seed = [&](const char* target, const std::string& bytes) {
        std::filesystem::create_directories(root / target);
        std::ofstream(root / target / std::to_string(number++), std::ios::binary) << bytes;
    };
    std::string header = "ProgramName=\"P \\\"1\\\"\";Note=a\\;b\\n";
    for (const std::string_view key : HeaderVocabulary) {
        seed("header_lookup_fuzz", std::string(key) + '\n' + header + std::string(key) + " 5;");
    }
    for (const char* text :
         {"File %1% not found.\na", "%1%%1%\nx%", "%2%%1%\nx", "100% of %1%\n"}) {
        seed("message_fuzz", text);
    }
    for (const std::uint32_t bits : {0u, 8u, 12u, 16u, 24u, 32u, 33u}) {
        for (const std::uint32_t offset : {0u, 44u, 60u, 0xFFFFFFFFu}) {
            const auto bytes = EncodeQ32Header({Q32Magic, offset, {}, 1, 1, 3, 2, bits});
            seed("read_q32_fuzz", std::string(bytes.begin(), bytes.end()) + std::string(40, 'p') +
                                      std::string("\4\0\0\0kV=6\2\0\0\0id", 14));
        }
    }
    for (int format = 0; format < 256; ++format) {
        seed("round_trip_fuzz",
             std::string{'\5', '\3', static_cast<char>(format), '\6', '\10'} + header);
    }
    std::minstd_rand random(1);
    for (std::size_t size = 16; size <= 1024; size += 16) {
        std::string choices(size, ' ');
        for (char& choice : choices) {
            choice = static_cast<char>(random());
        }
        seed("workflow_fuzz", choices);
    }
    return 0;
}
