/* Internal functions of the hash family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_HASH_H
#define MORVSDK_INTERNAL_HASH_H

#include <morvsdk/hash.h>
#include <stdio.h>

MORV_BEGIN_DECLS

/* Makes an empty hash of `buckets` buckets (1 or more) and `size` bytes (0 or more) for strings. Returns it,
 * or null with ERR_BAD_PARAMETERS or ERR_OUT_OF_MEMORY. */
MORV_API MLIBSZHASH *PshMLIBIHashAllocator(int buckets, int size) MORV_NOEXCEPT;

/* The home bucket of key among `buckets`: its bytes in groups of four, each a big-endian number, the last
 * group filled up with zero bytes, summed modulo 2^32, modulo `buckets`. -1 for a null key or buckets
 * below 1. */
MORV_API int MLIBIRadixHashCode(const char *key, int buckets) MORV_NOEXCEPT;

/* The bucket that holds key, or -1. Null arguments: -1. Sets no code. */
MORV_API int MLIBIGetLookDict(const MLIBSZHASH *hash, const char *key) MORV_NOEXCEPT;

/* The bucket to store key in: the one that holds it, its home bucket when that was never used, else the first
 * bucket without a key behind it. -1 when there is none, or for null arguments. Sets no code. */
MORV_API int MLIBISetLookDict(const MLIBSZHASH *hash, const char *key) MORV_NOEXCEPT;

/* Makes room for `needed` more bytes of strings, and for a further pair.
 *
 * Returns the hash, or a rebuilt one in its place (the old is freed), or null with ERR_BAD_PARAMETERS (null
 * hash, needed below 0) or ERR_OUT_OF_MEMORY; the hash is then as it was. */
MORV_API MLIBSZHASH *PshMLIBICheckSpace(MLIBSZHASH *hash, int needed) MORV_NOEXCEPT;

/* Moves the live pairs, in bucket order, to a new hash of `buckets` buckets and `size` bytes for strings, and
 * frees the old one.
 *
 * Returns the new hash, or null with ERR_BAD_PARAMETERS (null hash, or one into which the pairs do not fit)
 * or ERR_OUT_OF_MEMORY; the old hash is then as it was. */
MORV_API MLIBSZHASH *PshMLIBIReSizeHash(MLIBSZHASH *hash, int buckets, int size) MORV_NOEXCEPT;

/* Stores the live pairs of source, in bucket order, in destination, which does not grow: the copy ends, with
 * ERR_NOT_ENOUGH_MEMORY, at the first pair that does not fit. Null arguments: ERR_BAD_PARAMETERS. */
MORV_API void MLIBICopyHash(const MLIBSZHASH *source, MLIBSZHASH *destination) MORV_NOEXCEPT;

/* Stores a key that the hash does not hold.
 *
 * index: in: the bucket that MLIBISetLookDict gave for key; out: the bucket that it went to, another one when
 *        the hash was rebuilt.
 *
 * Returns the hash, or a rebuilt one in its place (the old is freed), or null with ERR_BAD_PARAMETERS (a null
 * argument, or a bucket that does not suit) or ERR_OUT_OF_MEMORY; the hash is then as it was. */
MORV_API MLIBSZHASH *PshMLIBIInsertNewPair(MLIBSZHASH *hash, const char *key, const char *value,
                                           int *index) MORV_NOEXCEPT;

/* Stores a pair in bucket `index`, which must have no key. The hash does not grow: nFree must be at least the
 * bytes of both strings with their terminators. Otherwise ERR_BAD_PARAMETERS, and nothing happens. */
MORV_API void MLIBIInsertPair(MLIBSZHASH *hash, const char *key, const char *value, int index) MORV_NOEXCEPT;

/* Replaces the value of a key that the hash holds, in bucket `index`; otherwise as PshMLIBIInsertNewPair. A
 * value no longer than the old one is written over it. */
MORV_API MLIBSZHASH *PshMLIBIUpdateValue(MLIBSZHASH *hash, const char *key, const char *value,
                                         int *index) MORV_NOEXCEPT;

/* Writes a section: "[section]" and a line feed unless section is null, then format with key and value for
 * each pair in bucket order; no pairs when hash is null or empty. The stream is neither flushed nor closed.
 *
 * format: accepted by MLIBIFileCheckFormat, and without any conversion but the two strings and "%%"; null for
 *         "%s=%s\n".
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  stream is null, format is refused, a text holds a line feed, or a line of a section
 *                       would start with "["; nothing is written
 *   ERR_OUT_OF_MEMORY   no memory for the text; nothing is written
 *   ERR_WRITE_FAILED    the stream took only a part of it, or nothing */
MORV_API int ErrMLIBIFileHash2File(FILE *stream, const char *section, const MLIBSZHASH *hash,
                                   const char *format) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
