"""What a process has used up, as the system counts it."""
import os


def memory(pid, kind='VmRSS'):
    """In MiB; RssAnon: what isn't of a file."""
    with open('/proc/%d/status' % pid) as source:
        return next(int(line.split()[1]) for line in source if line.startswith(kind + ':')) / 1024


def spent(pid):
    """Seconds of processor time."""
    with open('/proc/%d/stat' % pid) as source:
        return sum(int(one) for one in source.read().rsplit(')', 1)[1].split()[11:13]) / os.sysconf('SC_CLK_TCK')
