// The `kelo` command: parses arguments and hands each command to the core library.
// It holds no file-system logic of its own.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <optional>

#include "model/kelo_error.h"
#include "store/data_directory.h"

int main(int argc, char** argv) {
    CLI::App app{"Kelo keeps a designer's working files in order.", "kelo"};
    app.set_version_flag("--version", std::string("kelo ") + KELO_VERSION);
    std::string dataDir;
    app.add_option("--data-dir", dataDir, "Use DIR as the data directory")->option_text("DIR");
    app.require_subcommand(1);

    auto* info = app.add_subcommand("info", "Print the version and the data directory");

    CLI11_PARSE(app, argc, argv);

    try {
        std::optional<std::filesystem::path> override;
        if (!dataDir.empty()) override = dataDir;
        if (info->parsed()) {
            std::cout << "kelo " << KELO_VERSION << "\n"
                      << "data directory: " << kelo::locateDataDirectory(override).string() << "\n";
        }
    } catch (const kelo::KeloError& e) {
        std::cerr << e.message() << "\n";
        return 1;
    } catch (const std::exception& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
    return 0;
}
