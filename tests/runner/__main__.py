"""Runs the whole test suite on a build. Called by script/test, which builds first.

The last line is always "N passed, N failed".
"""

import sys

from suite import main

sys.exit(main())
