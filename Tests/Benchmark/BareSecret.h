#ifndef BARE_SECRET_H
#define BARE_SECRET_H

#include <stddef.h> // NOLINT(modernize-deprecated-headers): C has no other

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the one secret of the registration record from the Secret Service in a plain session, with
   the fewest calls that do. Its length, or 0. */
size_t readBareSecret(char* buffer, size_t size);

#ifdef __cplusplus
}
#endif

#endif
