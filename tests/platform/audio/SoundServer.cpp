#include "SoundServer.h"

#include "support/Signals.h"
#include "support/WaitUntil.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

namespace fenlo::test {

SoundServer::SoundServer() {
    std::string folder = (std::filesystem::temp_directory_path() / "sound-XXXXXX").string();
    m_folder = ::mkdtemp(folder.data());
    ::setenv("XDG_RUNTIME_DIR", m_folder.c_str(), 1);
    ::setenv("PULSE_SERVER", ("unix:" + (m_folder / "native").string()).c_str(), 1);
}

SoundServer::~SoundServer() {
    kill();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

void SoundServer::start() {
    launch({"module-null-sink sink_name=micfeed rate=48000 channels=2 norewinds=1",
            "module-remap-source master=micfeed.monitor source_name=virtmic "
            "source_properties=device.description=Microphone"});
    control("set-default-source virtmic");
}

void SoundServer::startWithSpeakers() {
    launch({"module-null-sink sink_name=speakers rate=44100 norewinds=1",
            "module-null-sink sink_name=headset norewinds=1", "module-sine-source source_name=room frequency=1000"});
    control("set-default-sink speakers");
    control("set-default-source room");
}

void SoundServer::startWithoutDevices() {
    launch({});
}

void SoundServer::launch(const std::vector<std::string>& modules) {
    std::vector<std::string> command{"pulseaudio",
                                     "-n",
                                     "--daemonize=no",
                                     "--exit-idle-time=-1",
                                     "--use-pid-file=no",
                                     "--log-target=file:" + (m_folder / "log").string(),
                                     "-L",
                                     "module-native-protocol-unix auth-anonymous=1 socket=" +
                                         (m_folder / "native").string()};
    for (const std::string& module : modules) {
        command.push_back("-L");
        command.push_back(module);
    }
    m_process = ChildProcess(command);
    if (!waitUntil(10, [this] { return control("info").find("Server Name") != std::string::npos; }))
        ADD_FAILURE() << "pulseaudio does not answer; is it installed?";
}

void SoundServer::kill() {
    m_process = {};
}

void SoundServer::freeze() {
    m_process.signal(SIGSTOP);
}

void SoundServer::thaw() {
    m_process.signal(SIGCONT);
}

std::string SoundServer::control(const std::string& arguments) {
    std::string output;
    FILE* pipe = ::popen(("LC_ALL=C pactl " + arguments + " 2>&1").c_str(), "r");
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe))
        output.append(block.data(), count);
    ::pclose(pipe);
    return output;
}

void SoundServer::play(float left, float right, double frequency, const std::string& sink) {
    std::vector<float> frames;
    for (const float sample : sine(1, 20, 48000, frequency)) {
        frames.push_back(left * sample);
        frames.push_back(right * sample);
    }
    const std::filesystem::path file = m_folder / (std::to_string(++m_played) + ".raw");
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(frames.data()),
               static_cast<std::streamsize>(frames.size() * sizeof(float)));
    // The shell ends at once, the player with its file or the server.
    const std::string command = "paplay --raw --format=float32le --rate=48000 --channels=2 --device=" + sink + " '" +
                                file.string() + "' >/dev/null 2>&1 &";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

} // namespace fenlo::test
