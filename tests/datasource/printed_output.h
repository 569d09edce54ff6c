// Catches what this process writes on stdout and stderr while a function runs.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

namespace rq::testing {

inline std::string printedDuring(const std::function<void()>& fn) {
    std::fflush(stdout);
    std::fflush(stderr);
    char path[] = "/tmp/rq_printed_XXXXXX";
    const int fd = ::mkstemp(path);
    if (fd < 0) std::abort();
    const int out = ::dup(1), err = ::dup(2);
    ::dup2(fd, 1);
    ::dup2(fd, 2);
    fn();
    std::fflush(stdout);
    std::fflush(stderr);
    ::dup2(out, 1);
    ::dup2(err, 2);
    ::close(out);
    ::close(err);
    ::close(fd);
    std::ifstream in(path);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ::unlink(path);
    return text;
}

}  // namespace rq::testing
