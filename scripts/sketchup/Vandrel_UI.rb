# encoding: utf-8
# Registers the farm's menu with SketchUp; what it does stands in the folder of the same name.
require 'sketchup.rb'
require 'extensions.rb'

module Vandrel
  unless defined?(EXTENSION)
    EXTENSION = SketchupExtension.new('VandrelQN', 'Vandrel_UI/main.rb')
    EXTENSION.description = '把当前模型提交到渲染农场'
    EXTENSION.version = '1.0.0'
    Sketchup.register_extension(EXTENSION, true)
  end
end
