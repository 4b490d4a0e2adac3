#include "sim/phone/storage.h"

#include <cerrno>
#include <vector>

namespace sim {
namespace {

// The first octet of a kept file: whether there was a file, whose octets follow.
constexpr char kExisted = '+';
constexpr char kDidNotExist = '-';

}  // namespace

Store::Store(const Phone& phone, const std::string& name, const bool& loses_unsynced)
    : phone_(phone),
      files_(phone.folder(name)),
      kept_(phone.folder("unsynced/" + name)),
      loses_unsynced_(loses_unsynced) {}

int Store::read(std::string_view path, std::string* contents) const {
  return files_.read(path, contents);
}

int Store::write(std::string_view path, std::string_view contents) const {
  return change(path, [&] { return files_.write(path, contents); });
}

int Store::remove(std::string_view path) const {
  return change(path, [&] { return files_.remove(path); });
}

int Store::change(std::string_view path, const Change& change) const {
  return loses_unsynced_ ? change_locked(path, change) : change();
}

int Store::change_locked(std::string_view path, const Change& change) const {
  const FileLock lock = phone_.lock();
  if (!lock.held()) return ENOLCK;
  if (loses_unsynced_) {
    if (const int error = keep(path); error != 0) return error;
  }
  return change();
}

int Store::update(std::string_view path,
                  const std::function<std::string(const std::string& old)>& make) const {
  return change_locked(path, [&] {
    std::string old;
    const int error = files_.read(path, &old);
    // A file that cannot be read is not overwritten.
    return error == 0 || error == ENOENT ? files_.write(path, make(old)) : error;
  });
}

int Store::keep(std::string_view path) const {
  std::string file;
  if (kept_.read(path, &file) == 0) return 0;
  const int error = files_.read(path, &file);
  // A file that could not be brought back is not changed.
  if (error != 0 && error != ENOENT) return error;
  return kept_.write(path, (error == 0 ? kExisted : kDidNotExist) + file);
}

int Store::for_each_kept(const std::function<int(const std::string& path)>& each) const {
  std::vector<std::string> paths;
  const auto list = [&] {
    paths.clear();
    kept_.list([&](const std::string& path, size_t) { paths.push_back(path); });
    return !paths.empty();
  };
  if (!list()) return 0;
  const FileLock lock = phone_.lock();
  if (!lock.held()) return ENOLCK;
  list();
  int first = 0;
  for (const std::string& path : paths) {
    int error = each(path);
    if (error == 0) error = kept_.remove(path);
    if (first == 0) first = error;
  }
  return first;
}

int Store::sync() const {
  return for_each_kept([](const std::string&) { return 0; });
}

int Store::restart() const {
  return for_each_kept([this](const std::string& path) {
    if (!loses_unsynced_) return 0;
    std::string file;
    if (const int error = kept_.read(path, &file); error != 0) return error;
    if (!file.empty() && file[0] == kExisted) return files_.write(path, file.substr(1));
    const int error = files_.remove(path);
    return error == ENOENT ? 0 : error;
  });
}

Storage::Storage(const Phone& phone, const bool& loses_unsynced)
    : nv(phone, "nv", loses_unsynced), efs(phone, "efs", loses_unsynced) {}

int Storage::sync() const {
  const int error = nv.sync();
  const int second = efs.sync();
  return error != 0 ? error : second;
}

int Storage::restart() const {
  const int error = nv.restart();
  const int second = efs.restart();
  return error != 0 ? error : second;
}

}  // namespace sim
