// Operators new that throw where there is no memory: those of libmimalloc end the process.
#include <cstdlib>
#include <new>

void* operator new(std::size_t size)
{
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}
