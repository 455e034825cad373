# encoding: utf-8
# The client's plug-in port on this machine: one question or one scene a connection.
require 'json'
require 'socket'
require 'timeout'

module Vandrel
  class Client
    WAIT = 12 # seconds; the client itself gives up earlier
    DEFAULT_PORT = 46161

    # The client's installer writes its port beside the scripts.
    def self.port(folder = File.dirname(__FILE__))
      told = File.read(File.join(folder, 'port.txt')).to_i
      told > 0 && told < 65536 ? told : DEFAULT_PORT
    rescue SystemCallError
      DEFAULT_PORT
    end

    def initialize(port = Client.port)
      @port = port
    end

    # [{'id' => 3, 'name' => 'film'}, ...]; raises Trouble.
    def projects
      list(ask("getProject\n"), 'projects')
    end

    def machines(project)
      list(ask("getMachine #{project.to_i}\n"), 'machines')
    end

    def send_scene(message)
      exchange(JSON.generate(message))
      nil
    end

    class Trouble < StandardError; end

    private

    def ask(words)
      JSON.parse(exchange(words))
    rescue JSON::ParserError
      raise Trouble, '客户端的应答无法识别'
    end

    def exchange(text)
      Timeout.timeout(WAIT) do
        socket = TCPSocket.new('127.0.0.1', @port)
        begin
          socket.write(text)
          socket.flush
          socket.read.to_s.force_encoding('UTF-8')
        ensure
          socket.close
        end
      end
    rescue SystemCallError, IOError, Timeout::Error
      raise Trouble, '没有连接到客户端，请先启动并登录客户端'
    end

    # The list of that name, wherever in the answer it stands.
    def list(value, name)
      waiting = [value]
      until waiting.empty?
        one = waiting.shift
        next unless one.is_a?(Hash)
        return one[name].select { |row| row.is_a?(Hash) } if one[name].is_a?(Array)
        waiting.concat(one.values)
      end
      []
    end
  end
end
