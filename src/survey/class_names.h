// The classes that the conversion knows, by whatever names they are called.
#pragma once

#include "rules/line.h"
#include "rules/object_class.h"

// The container of the resource credentials is a container whose name counts besides.
inline ObjectClass withoutCredentials(ObjectClass code) {
  return code == RESCREDS_CONTAINER ? CONTAINER_OBJECTCLASS : code;
}

// Returns the class whose name the line gives for one of its entry, in any spelling; UNINTERESTING_OBJECTCLASS without
// one.
ObjectClass classNamedBy(const Line& line);
