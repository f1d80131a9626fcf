#pragma once

// Where an object's text lives: the two stores that synchronization moves texts between. The numbers
// are those the command tables of the windows pass.
enum class StoreLocation : long { VersionStore = 1, SqlServer = 2 };
