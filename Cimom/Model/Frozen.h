// Making objects immutable, for those who share them.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

namespace cimom
{

/// Freezes what the handle refers to, with everything in it, for good: from now on a setter called
/// through any handle on it, or on an element of it, changes a copy that this handle alone sees.
/// Frozen objects may be read from any number of threads. The clone of one is not frozen. Call it
/// before other threads see the object. Throws UninitializedObjectException.
void freeze(Pegasus::CIMClass& cimClass);
void freeze(Pegasus::CIMQualifierDecl& declaration);

}  // namespace cimom
