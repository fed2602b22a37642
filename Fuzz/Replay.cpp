// Runs a fuzz target over kept inputs: the files, and all files of the folders, that it is given.
#include "Fuzz.h"

namespace
{

std::size_t run(const std::filesystem::path& path)
{
    std::size_t count = 0;
    if (std::filesystem::is_directory(path)) {
        for (const auto& entry : std::filesystem::directory_iterator(path))
            count += run(entry.path());
        return count;
    }
    std::cerr << path.string() << std::endl;
    std::ifstream file(path, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    return 1;
}

}  // namespace

int main(int count, char** arguments)
{
    std::size_t inputs = 0;
    for (int i = 1; i < count; ++i)
        inputs += run(arguments[i]);
    std::cerr << inputs << " inputs" << std::endl;
    return inputs > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
