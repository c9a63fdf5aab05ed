#pragma once
// The exceptions of the persistence layer. Every one derives from EStorageException, so an action
// that reads or writes a file can catch them all and show one message.

#include "services/KovException.h"

namespace tw {

TW_DECLARE_EXCEPTION(EStorageException, EKovException)
// A node name that is empty, or that holds a character the back-end cannot store.
TW_DECLARE_EXCEPTION(EEmptyName, EStorageException)
TW_DECLARE_EXCEPTION(EInvalidName, EStorageException)
// A file of a kind or version this program cannot read.
TW_DECLARE_EXCEPTION(EStorageIncompatibleFile, EStorageException)
// A file whose contents contradict themselves: truncated, an offset out of range, a blob that
// does not inflate.
TW_DECLARE_EXCEPTION(EStorageCorruptFile, EStorageException)
// Streams and files.
TW_DECLARE_EXCEPTION(EStreamError, EStorageException)
TW_DECLARE_EXCEPTION(EFOpenError, EStreamError)
TW_DECLARE_EXCEPTION(EFCreateError, EStreamError)
TW_DECLARE_EXCEPTION(EInOutError, EStreamError)
// Persisters: no persister for a class, a missing element, an unknown type name.
TW_DECLARE_EXCEPTION(EHierarchicPersisterException, EStorageException)

} // namespace tw
