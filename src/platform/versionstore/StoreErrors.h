#pragma once

// The error numbers that the version store raises (as TARMOError numbers, source "VersionStore").
// The first three are the numbers the source-control layer maps to its own messages when a project
// is created; the rest only need to be told apart by callers that care.
namespace StoreErrors {
constexpr long NameExists = 0x8004D694;    // a living item of that name is already in the project
constexpr long NameStructure = 0x80040000; // the name holds a path separator or is empty
constexpr long InvalidName = 0x8004D848;   // the name holds a character the store doesn't allow
constexpr long NotFound = 0x8004D68F;      // no item at that path (living or deleted, as asked)
constexpr long CheckedOutByOther = 0x8004D6A0;
constexpr long AlreadyCheckedOut = 0x8004D6A1;    // the connected user holds it already
constexpr long NotCheckedOut = 0x8004D6A2;        // the connected user doesn't hold it
constexpr long WrongType = 0x8004D6A3;            // a file where a project is needed, or the other way
constexpr long LocalFile = 0x8004D6A4;            // the working file can't be read or written
constexpr long WorkingFileProtected = 0x8004D6A5; // a get would replace the user's checked-out edits
constexpr long Login = 0x8004D6B0;                // unknown user or wrong password
constexpr long IniFile = 0x8004D6B1;              // missing or unreadable srcsafe.ini
constexpr long Database = 0x8004D6B2;             // the data files can't be opened or used
constexpr long NotOpen = 0x8004D6B3;              // no database is open
constexpr long Permission = 0x8004D6B4;           // an administrator's step by another user
constexpr long NoVersion = 0x8004D6B5;            // no version of that number
constexpr long NoRight = 0x8004D6B6;              // the user lacks the project right the step needs
constexpr long DamagedText = 0x8004D6B7;          // a stored text no longer matches its checksum
} // namespace StoreErrors
