# encoding: utf-8
# The SketchUp plug-in, run by Ruby against small fakes of the host's classes and a listener of its own. Word: the project's folder.
require 'json'
require 'socket'
require 'tmpdir'
require 'fileutils'
require 'minitest/autorun'

ROOT = ARGV.shift
$LOAD_PATH.unshift(Dir.mktmpdir.tap { |dir| %w[sketchup.rb extensions.rb].each { |name| FileUtils.touch(File.join(dir, name)) } })

class SketchupExtension
  attr_accessor :description, :version
  def initialize(_name, path)
    require File.join(ROOT, 'scripts/sketchup', path)
  end
end

module Sketchup
  class << self
    attr_accessor :active_model, :registered
    def version; '18.0.16975'; end
    def register_extension(one, _load) (self.registered ||= []) << one; end
  end
end

module UI
  class << self
    attr_accessor :told, :answers, :asked, :items
    def messagebox(text) told << text; end
    def inputbox(_prompts, _defaults, lists, _title)
      asked << lists.first
      answer = answers.shift
      answer == :back ? false : [answer || lists.first.split('|').first]
    end
    def menu(_name) self; end
    def add_submenu(_name) self; end
    def add_item(name, &act) (self.items ||= {})[name] = act; end
  end
end

Named = Struct.new(:name)
Texture = Struct.new(:filename)
Material = Struct.new(:texture)
Definition = Struct.new(:path)
View = Struct.new(:vpwidth, :vpheight)
Model = Struct.new(:path, :materials, :definitions, :pages, :active_view, :changed, :saved) do
  def modified?; changed; end
  def save; self.saved = true; changed != :unwritable; end
end

require File.join(ROOT, 'scripts/sketchup/Vandrel_UI.rb')

class PluginTest < Minitest::Test
  def setup
    UI.told, UI.asked, UI.answers = [], [], []
    @dir = Dir.mktmpdir
    @scene = file('模型.skp')
    @model = Model.new(@scene, [Material.new(nil), Material.new(Texture.new(file('wood.jpg'))), Material.new(Texture.new('C:/gone.jpg'))],
                       [Definition.new(''), Definition.new(file('tree.skp')), Definition.new(file('tree.skp'))],
                       [Named.new('Front'), Named.new('Back|1')], View.new(640, 480), true)
    @got = []
    @replies = { 'getProject' => '{"projects":[{"id":3,"name":"film"},{"id":4,"name":"show"}]}',
                 'getMachine 4' => '{"data":{"machines":[{"id":9,"name":"CPU 64G"}]}}' }
    @server = TCPServer.new('127.0.0.1', 0)
    @thread = Thread.new { loop { serve(@server.accept) } }
    @client = Vandrel::Client.new(@server.addr[1])
  end

  def teardown
    @thread.kill
    @server.close
    FileUtils.rm_rf(@dir)
  end

  def file(name)
    File.join(@dir, name).tap { |path| FileUtils.touch(path) }
  end

  # As the client: a word ends with its line, a scene with its last brace.
  def serve(socket)
    text = socket.gets("\n", chomp: true) if (first = socket.recv(1, Socket::MSG_PEEK)) != '{'
    text ||= socket.readpartial(1 << 20) if first == '{'
    @got << text.force_encoding('UTF-8')
    socket.write(@replies[text].to_s)
  ensure
    socket.close
  end

  def test_the_road
    UI.answers = ['show', nil, 'Back/1']
    Vandrel.submit(@client, @model)
    assert_equal ['film|show', 'CPU 64G', 'Front|Back/1'], UI.asked
    assert_equal ['已交给客户端，请在客户端中继续'], UI.told
    assert @model.saved
    scene = JSON.parse(@got.last)['content'].first
    assert_equal [@scene, File.join(@dir, 'wood.jpg'), File.join(@dir, 'tree.skp')], scene['files']
    assert_equal [@scene, @dir, '模型', { 'width' => 640, 'height' => 480 }], scene.values_at('renderfile', 'root', 'taskname', 'reslution')
    assert_equal ['show', 4, 'CPU 64G', 9, 'sketchup2018'], scene.values_at('Project', 'ProjectID', 'Modal', 'clientId', 'SketchupVersion')
  end

  def test_what_stops_it
    { '请先保存模型' => -> { @model.path = '' }, '模型保存失败' => -> { @model.changed = :unwritable },
      '没有可用的项目' => -> { @replies['getProject'] = '{}' }, '客户端的应答无法识别' => -> { @replies['getProject'] = '<html>' },
      '没有连接到客户端，请先启动并登录客户端' => -> { @client = Vandrel::Client.new(1) } }.each do |text, change|
      teardown
      setup
      change.call
      Vandrel.submit(@client, @model)
      assert_equal [text], UI.told
      refute @got.any? { |one| one.start_with?('{') }
    end
    UI.told, UI.answers = [], [:back]
    Vandrel.submit(Vandrel::Client.new(@server.addr[1]), @model.tap { |model| model.path = @scene })
    assert_empty UI.told
  end

  def test_the_port_beside
    assert_equal 46161, Vandrel::Client.port(@dir)
    { '47000' => 47000, 'x' => 46161, '70000' => 46161 }.each do |text, port|
      File.write(File.join(@dir, 'port.txt'), text)
      assert_equal port, Vandrel::Client.port(@dir)
    end
  end

  def test_the_menu
    assert_equal 1, Sketchup.registered.size
    assert_equal ['提交渲染'], UI.items.keys
  end
end
