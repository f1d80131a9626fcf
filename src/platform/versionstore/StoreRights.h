#pragma once

#include <QString>

// The project rights of the store's users. A user's rights in a project are those of the nearest
// project up the path (the project itself first) that has an entry for him; where none has, the
// store's default rights. The administrator has every right everywhere. A file is governed by the
// project that holds it.
namespace StoreRights {
enum Right : int { Read = 1, Checkout = 2, Add = 4, Destroy = 8 };
constexpr int None = 0;
constexpr int All = Read | Checkout | Add | Destroy;
// What a user without any entry may do: everything but destroy, which loses history for good.
constexpr int Default = Read | Checkout | Add;

// "read,checkout,add,destroy" (any of them, in any order and case) or "none"; false for anything else.
bool Parse(const QString& text, int& rights);
// The same form, in that order; "none" for no right.
QString Format(int rights);
// The name of one right, as Parse takes it.
QString NameOf(int right);
} // namespace StoreRights
