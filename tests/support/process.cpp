#include "tests/support/process.h"
#include "tests/test_headers.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

extern char** environ;

namespace zo_test {

Process::Process(const std::vector<std::string>& words, const std::filesystem::path& output,
                 const std::filesystem::path& errors) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    int input[2];
    if (pipe2(input, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe2");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], 0);
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (errors.empty())
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
    else
        posix_spawn_file_actions_addopen(&actions, 2, errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int result = posix_spawn(&pid_, words[0].c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    input_ = input[1];
    if (result != 0) throw std::system_error(result, std::generic_category(), words[0]);
}

Process::~Process() {
    if (pid_ > 0) {
        signal(SIGKILL);
        wait();
    }
    end_input();
}

void Process::end_input() {
    if (input_ >= 0) close(std::exchange(input_, -1));
}

void Process::write(const std::string& text) const {
    // The program may have ended by now, which is no fault of the test.
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    const ssize_t written = ::write(input_, text.data(), text.size());
    EXPECT_TRUE(written == static_cast<ssize_t>(text.size()) || errno == EPIPE) << errno;
    std::signal(SIGPIPE, before);
}

void Process::signal(int number) const {
    ::kill(pid_, number);
}

bool Process::runs() const {
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == 0;
}

int Process::wait() {
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

UnreadOutput::UnreadOutput() {
    if (mkfifo(path().c_str(), 0600) == 0) pipe_ = open(path().c_str(), O_RDWR | O_CLOEXEC);
    if (pipe_ < 0) throw std::system_error(errno, std::generic_category(), "mkfifo");
    fcntl(pipe_, F_SETPIPE_SZ, 4096);
}

UnreadOutput::~UnreadOutput() {
    close(pipe_);
}

bool UnreadOutput::full() const {
    int before = 0;
    int after = 0;
    ioctl(pipe_, FIONREAD, &before);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ioctl(pipe_, FIONREAD, &after);
    return before == after && after > 3000;
}

} // namespace zo_test
