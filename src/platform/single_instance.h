// One running copy per settings file. The lock sits beside the settings it guards, so two
// copies meet there whatever sessions they were started from; where that folder cannot be
// written, the runtime folder holds it instead. A lock left by a crashed copy is taken over.
#pragma once

#include <QLockFile>
#include <QString>
#include <memory>

namespace cvl {

class SingleInstance {
public:
    explicit SingleInstance(const QString& settingsPath);
    // False when another live copy holds the lock.
    [[nodiscard]] bool acquire();
    [[nodiscard]] QString lockPath() const { return lockPath_; }

private:
    QString lockPath_;
    std::unique_ptr<QLockFile> lock_;
};

} // namespace cvl
