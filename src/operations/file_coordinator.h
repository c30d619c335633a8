// FileCoordinator: the seam around every move where a platform with file
// coordination would make other coordinating processes wait. Linux has no such
// service, so the default runs the accessor at once with the paths it was given;
// the re-validation stays inside the accessor either way. Tests substitute their
// own to hand back other paths or refuse to run the accessor.
// Used by the executor on the engine thread.
#pragma once

#include <filesystem>
#include <functional>

namespace kelo {

class FileCoordinator {
public:
    using Accessor = std::function<void(const std::filesystem::path& source, const std::filesystem::path& destination)>;

    virtual ~FileCoordinator() = default;

    // Coordinates writing of `source` (for moving) and of `destination`, and runs
    // `accessor` with the paths the coordination hands back. A coordinator may also
    // decline without running it.
    virtual void coordinateMove(const std::filesystem::path& source, const std::filesystem::path& destination,
                                const Accessor& accessor) {
        accessor(source, destination);
    }

    // Told around the move itself, so coordinated observers can follow the item.
    virtual void willMove(const std::filesystem::path&, const std::filesystem::path&) {}
    virtual void didMove(const std::filesystem::path&, const std::filesystem::path&) {}
};

}  // namespace kelo
