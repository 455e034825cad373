# encoding: utf-8
# The menu: asks for project, machine and page, and hands the saved model to the client.
require File.join(File.dirname(__FILE__), 'client.rb')
require File.join(File.dirname(__FILE__), 'scene.rb')

module Vandrel
  TITLE = 'VandrelQN'

  def self.submit(client = Client.new, model = Sketchup.active_model)
    return tell('请先保存模型') if model.path.to_s.empty?
    return tell('模型保存失败') if model.modified? && !model.save
    project = choose('项目', client.projects, '没有可用的项目') or return
    machine = choose('机型', client.machines(project['id']), '没有可用的机型') or return
    pages = Scene.pages(model)
    page = ''
    unless pages.empty?
      page = pick('页面', pages) or return
    end
    client.send_scene(Scene.message(model, :project => project, :machine => machine, :page => page))
    tell('已交给客户端，请在客户端中继续')
  rescue Client::Trouble => trouble
    tell(trouble.message)
  end

  def self.choose(what, rows, none)
    named = rows.reject { |row| label(row).empty? }
    return tell(none) && nil if named.empty?
    name = pick(what, named.map { |row| label(row) }) or return
    named.find { |row| label(row) == name }
  end

  def self.label(row)
    (row['name'] || row['machineModel']).to_s
  end

  # The choice; nil where the user goes back.
  def self.pick(what, names)
    names = names.map { |name| name.tr('|', '/') } # "|" parts the list's entries
    answer = UI.inputbox([what], [names.first], [names.join('|')], TITLE)
    answer ? answer.first : nil
  end

  def self.tell(text)
    UI.messagebox(text)
    true
  end

  unless defined?(@menu)
    @menu = UI.menu('Plugins').add_submenu(TITLE)
    @menu.add_item('提交渲染') { Vandrel.submit }
  end
end
