def initialize(name='python'):
    pass
