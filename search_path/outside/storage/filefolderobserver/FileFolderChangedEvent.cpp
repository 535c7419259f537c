#include "storage/filefolderobserver/FileFolderObserver.hpp"

namespace storage::filefolderobserver {

const std::string& FileFolderChangedEvent::TypeName() {
    static const std::string name = "storage::filefolderobserver::FileFolderChangedEvent";
    return name;
}

}  // namespace storage::filefolderobserver
