"""A program in the place of the desktop's mail program."""

import os
import urllib.parse


class Mailer:
    """Stands in for xdg-email in a program that is started with `environment`, and keeps the mails it is to show."""

    def __init__(self, folder):
        self._folder = folder / "mailer"
        self._folder.mkdir()
        self.end_with(0)
        self.environment = {"PATH": f"{self._folder}:{os.environ['PATH']}"}

    def end_with(self, status):
        """The exit status from now on: 3 where there is no mail program, 4 where it does not open."""
        program = self._folder / "xdg-email"
        script = f'#!/bin/sh\nfile=$(mktemp -p "{self._folder}") && echo "$2" > "$file" && mv "$file" "$file.mail"\n'
        program.write_text(script + f"exit {status}\n")
        program.chmod(0o700)

    def mails(self):
        """What came so far, oldest first, each with `to`, `subject` and `body`."""
        files = sorted(self._folder.glob("*.mail"), key=lambda file: file.stat().st_mtime_ns)
        return [self._read(file.read_text().strip()) for file in files]

    @staticmethod
    def _read(address):
        parts = urllib.parse.urlsplit(address)
        fields = urllib.parse.parse_qs(parts.query)
        recipients = [urllib.parse.unquote(one) for one in parts.path.split(",") if one]
        subject, body = (fields.get(name, [""])[0].replace("\r\n", "\n") for name in ("subject", "body"))
        return {"to": recipients, "subject": subject, "body": body}
