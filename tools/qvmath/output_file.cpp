// SPDX-License-Identifier: MIT
#include "output_file.h"

#include <qvmath/platform/korva_exception.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>
#include <stdexcept>

#include "interrupt.h"

namespace qvtool {

namespace {

std::mutex g_lock;
std::set<std::string>& Registry() {
  static std::set<std::string> live;
  return live;
}
std::atomic<int> g_serial{0};

}  // namespace

std::string ReplaceExtension(const std::string& path, const std::string& ext) {
  const std::size_t slash = path.find_last_of('/');
  const std::size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash) ||
      dot == (slash == std::string::npos ? 0 : slash + 1))
    return path + ext;
  return path.substr(0, dot) + ext;
}

OutputFile::OutputFile(std::string finalPath) : m_final(std::move(finalPath)) {
  const std::size_t slash = m_final.find_last_of('/');
  const std::string folder = slash == std::string::npos ? "" : m_final.substr(0, slash + 1);
  const std::string name = m_final.substr(folder.size());
  const std::size_t dot = name.find_last_of('.');
  const std::string stem = dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
  const std::string ext = stem.size() == name.size() ? "" : name.substr(dot);
  m_temp = folder + "." + stem + ".qvtmp" + std::to_string(getpid()) + "-" +
           std::to_string(g_serial++) + ext;
  std::lock_guard<std::mutex> hold(g_lock);
  Registry().insert(m_temp);
}

OutputFile::~OutputFile() {
  std::lock_guard<std::mutex> hold(g_lock);
  if (!m_committed) std::remove(m_temp.c_str());
  Registry().erase(m_temp);
}

void OutputFile::Commit() {
  if (Interrupted()) throw CUserIntrException();
  std::lock_guard<std::mutex> hold(g_lock);
  if (std::rename(m_temp.c_str(), m_final.c_str()) != 0)
    throw std::runtime_error(m_final + ": cannot write: " + std::strerror(errno));
  m_committed = true;
  Registry().erase(m_temp);
}

void RemoveAllTemporaries() {
  std::lock_guard<std::mutex> hold(g_lock);
  for (const std::string& t : Registry()) std::remove(t.c_str());
  Registry().clear();
}

}  // namespace qvtool
