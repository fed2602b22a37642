// Runs a fuzz target over the files of the folders that it is given.
#include "Fuzz.h"

int main(int count, char** folders)
{
    for (int i = 1; i < count; ++i) {
        for (const auto& file : std::filesystem::directory_iterator(folders[i])) {
            std::cerr << file.path().string() << std::endl;
            const std::string input = fuzz::read(file.path());
            const auto* data = reinterpret_cast<const std::uint8_t*>(input.data());
            LLVMFuzzerTestOneInput(data, input.size());
        }
    }
}
