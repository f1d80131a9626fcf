#pragma once

#include <QByteArray>

// The texts that a fatal signal can still write. A signal handler may not allocate, lock or call into
// Qt, so every text is kept here already encoded, beside the paths it goes to, in a fixed table that
// the handler only reads. Slots are claimed, filled and released on the thread that owns the
// recovery files; the handler sees a slot only once it is complete.
namespace CrashCopies {

// Reserves a slot for the file at path; -1 when every slot is taken or the path is too long, in which
// case the text is kept only by the ordinary snapshot.
int Claim(const QByteArray& path);
// Replaces the slot's bytes. Empty bytes mean nothing unsaved: the crash path then removes the file.
void Set(int slot, const QByteArray& bytes);
void Release(int slot);

// Writes every claimed slot: each file to a temporary name first and renamed over the real one, so a
// file is whole or absent. Uses open, write, close, rename and unlink only.
void WriteAll() noexcept;

} // namespace CrashCopies
