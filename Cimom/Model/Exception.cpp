#include <Pegasus/Common/Exception.h>

namespace Pegasus
{

Exception::~Exception() = default;

void detail::throwUninitialized()
{
    throw UninitializedObjectException();
}

void detail::throwOutOfBounds()
{
    throw IndexOutOfBoundsException();
}

}  // namespace Pegasus
