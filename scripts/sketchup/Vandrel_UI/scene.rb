# encoding: utf-8
# What a model consists of, read from SketchUp's own lists, and the message that hands one of its pages over.
module Vandrel
  module Scene
    module_function

    # Files that the model names and that exist: pictures of materials, components kept as files, and the model itself.
    def files(model)
      found = [model.path]
      model.materials.each do |material|
        found << material.texture.filename if material.texture
      end
      model.definitions.each { |one| found << one.path if one.respond_to?(:path) }
      found.map { |path| slashes(path.to_s) }.reject(&:empty?).uniq.select { |path| File.file?(path) }
    end

    def pages(model)
      model.pages.map { |page| page.name.to_s }
    end

    def message(model, choice)
      view = model.active_view
      width = choice[:width].to_i > 0 ? choice[:width].to_i : view.vpwidth
      height = choice[:height].to_i > 0 ? choice[:height].to_i : view.vpheight
      path = slashes(model.path)
      { 'content' => [{
        'renderfile' => path,
        'root' => File.dirname(path),
        'taskname' => File.basename(path, '.*'),
        'pagename' => choice[:page].to_s,
        'Output' => choice[:output] || 'png',
        'reslution' => { 'width' => width, 'height' => height },
        'files' => files(model),
        'Project' => choice[:project]['name'],
        'ProjectID' => choice[:project]['id'],
        'Modal' => choice[:machine]['machineModel'] || choice[:machine]['name'],
        'clientId' => choice[:machine]['clientId'] || choice[:machine]['id'],
        'SketchupVersion' => "sketchup20#{Sketchup.version.to_i}"
      }] }
    end

    def slashes(path)
      path.gsub('\\', '/')
    end
  end
end
