"""Gives the classes of the compiled part further methods."""


def method_of(kind, name):
    """Makes the decorated function the method of that name of the class."""

    def attach(function):
        function.__name__ = name
        function.__qualname__ = f"{kind.__name__}.{name}"
        function.__module__ = "lumo"
        setattr(kind, name, function)
        return function

    return attach
