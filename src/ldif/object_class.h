// The class of the entry in the entry buffer.
#pragma once

#include <cstdint>

#include "rules/object_class.h"

// Code of the entry in the entry buffer, an ObjectClass; valid until the next classification.
inline int32_t objectClass = UNINTERESTING_OBJECTCLASS;

// Sets objectClass.
void determineTheObjectsObjectClass();
