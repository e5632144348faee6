#include "cache/gates.h"

#include "cache/object_cache.h"
#include "ldif/complaint.h"
#include "ldif/object_buffer.h"
#include "ldif/object_class.h"
#include "reporting/reporting.h"

const char* const steppedOverNames[UNKNOWN_KIND] = {"Users secUser",      "secUser",
                                                    "secGroup",           "secPolicyData",
                                                    "secMap for secUser", "secMap for secGroup",
                                                    "secPolicy",          "ResCreds container object or a secResCreds"};

EntryKind requireKindOfObject() {
  const EntryKind kind = kindOf(static_cast<ObjectClass>(objectClass), firstLineOfObject());
  if (kind != UNKNOWN_KIND) return kind;
  reportError("main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n");
  exitForObject(UNKNOWN_CLASS);
}

bool isOpen(EntryKind kind) {
  return kind < RESCREDS_KIND && *matrixOfKind[kind]->occupied < *sideOf(*matrixOfKind[kind]).limit;
}
