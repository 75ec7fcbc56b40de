"""What pyproject.toml can't say: the version, which stands in the library's information dictionary,
and in a source distribution in what that says of itself."""
import email
import pathlib
import plistlib

import setuptools

folder = pathlib.Path(__file__).resolve().parent
about = folder / "PKG-INFO"
if about.exists():
    version = email.message_from_string(about.read_text())["Version"]
else:
    dictionary = folder.parents[1] / "Source/Resources/Info.plist"
    version = plistlib.loads(dictionary.read_bytes())["CFBundleShortVersionString"]
setuptools.setup(version=version)
