// Making objects immutable, for those who share them.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

namespace cimom
{

/// Makes the handle refer to a frozen copy of what it referred to (to the same thing if that is
/// frozen): a setter called through any handle on the copy, or on an element of it, changes a copy
/// that this handle alone sees. Frozen objects may be read from any number of threads. The clone of
/// one is not frozen. Throws UninitializedObjectException.
void freeze(Pegasus::CIMClass& cimClass);
void freeze(Pegasus::CIMQualifierDecl& declaration);

}  // namespace cimom
