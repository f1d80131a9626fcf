#pragma once

#include <QString>

// The one way a name or a piece of user text enters a statement the system builds. A name from a
// catalogue or a store is whatever its creator typed: quotes, brackets, comment marks, line breaks.
// Only quoting keeps it one identifier or one literal, and a name with "]" reachable at all.
namespace SqlQuote {

// "[name]" with every "]" doubled, as QUOTENAME writes it.
QString Name(const QString& name);
// "[owner].[name]"; "[name]" alone when there is no owner.
QString TwoPartName(const QString& owner, const QString& name);
// "N'text'" with every "'" doubled: Unicode survives a server whose code page lacks the characters.
QString Literal(const QString& text);
// The name a well-formed "[...]" stands for ("[a]]b]" is a]b); any other text as it stands, so that
// callers may pass a name bracketed or not.
QString Unbracket(const QString& text);

} // namespace SqlQuote
