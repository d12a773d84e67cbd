#pragma once

#include "base/result.h"

#include <string>
#include <string_view>

namespace ravo {

// One setting a user can change, declared once beside the code that owns it: the key it is
// stored under, what it takes, its default, what `ravo settings` says of it and whether it
// follows the user to other computers. Readers, the settings command and the sync all take
// the key and the default from here.
struct Setting {
    enum class Kind { flag, metricList, text };
    // Where it is stored: the app's settings file, or the folder shared with ravo-hook.
    enum class Store { app, shared };

    std::string_view key = {};
    Kind kind = Kind::flag;
    std::string_view meaning = {};
    bool synced = false;
    bool flagDefault = false;
    std::string_view textDefault = {};
    Store store = Store::app;
    // When only another command changes it, that command's hint for `ravo settings set`.
    std::string_view changedBy = {};
    // A text setting's check of a typed value: the text to store, or what is wrong.
    Result<std::string> (*check)(std::string_view typed) = nullptr;
};

} // namespace ravo
