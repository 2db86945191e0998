"""A process that has loaded a library file and calls it when told (self_test_probe.cpp)."""
import subprocess


class Probe:
    def __init__(self, program, library, folder=None):
        self.process = subprocess.Popen([str(program), str(library)], cwd=folder, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.process.stdout.readline()  # "loaded", or nothing when the library cannot be

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()

    def ask(self, line):
        """The answer to a line; "died" when the process ended instead."""
        try:
            self.process.stdin.write(line + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            return "died"
        return self.process.stdout.readline().strip() or "died"

    def status(self, function):
        answer = self.ask(function)
        return answer if answer == "died" else int(answer, 16)

    def status_after(self, change):
        """The status of the integrity check once the file has changed."""
        change()
        return self.status("vrq_Verify_DLL")

    def services(self):
        return dict(pair.split("=") for pair in self.ask("services").split())
