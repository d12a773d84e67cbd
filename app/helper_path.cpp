#include "app/helper_path.h"

#include <QCoreApplication>

namespace ravo::app {

std::filesystem::path helperPath() {
    return std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) /
           "ravo-hook";
}

} // namespace ravo::app
