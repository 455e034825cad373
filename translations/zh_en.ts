<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="zh_CN">
<context>
    <name>AnalysisError</name>
    <message>
        <source>FailedToStart</source>
        <translation>Failed to start</translation>
    </message>
    <message>
        <source>Crashed</source>
        <translation>Crashed</translation>
    </message>
    <message>
        <source>Timedout</source>
        <translation>Timed out</translation>
    </message>
    <message>
        <source>ReadError</source>
        <translation>Read error</translation>
    </message>
    <message>
        <source>WriteError</source>
        <translation>Write error</translation>
    </message>
    <message>
        <source>UnknownError</source>
        <translation>Unknown error</translation>
    </message>
    <message>
        <source>软件类型不支持</source>
        <translation>This software isn&apos;t supported</translation>
    </message>
    <message>
        <source>软件未找到</source>
        <translation>The software was not found</translation>
    </message>
    <message>
        <source>解析数据格式错误</source>
        <translation>The analysis data is damaged</translation>
    </message>
    <message>
        <source>模型文件不存在</source>
        <translation>The scene file doesn&apos;t exist</translation>
    </message>
    <message>
        <source>admin操作未许可</source>
        <translation>The administrator&apos;s step wasn&apos;t allowed</translation>
    </message>
    <message>
        <source>渲染软件暂不支持</source>
        <translation>This version of the software isn&apos;t supported yet</translation>
    </message>
    <message>
        <source>文件格式错误</source>
        <translation>The file isn&apos;t a valid scene</translation>
    </message>
    <message>
        <source>场景文件无法打开</source>
        <translation>The scene file can&apos;t be opened</translation>
    </message>
    <message>
        <source>软件版本与模型制作版本不同</source>
        <translation>The scene was made with another version of the software</translation>
    </message>
    <message>
        <source>解析此场景时客户端两次异常退出，不再自动解析，可手动重新解析</source>
        <translation>The client ended twice while this scene was being analysed, so it is not analysed automatically any more. You can analyse it again by hand</translation>
    </message>
    <message>
        <source>此类场景不能在客户端解析，请从软件插件提交</source>
        <translation>Scenes of this kind are not analysed by the client. Please submit them from the plug-in of the software</translation>
    </message>
</context>
<context>
    <name>BaseWidget</name>
    <message>
        <source>最小化</source>
        <translation>Minimise</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Maximise</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Restore</translation>
    </message>
</context>
<context>
    <name>C4DResolve</name>
    <message>
        <source>请允许此操作，已保证解析正常</source>
        <translation>Please allow this step, the analysis needs it</translation>
    </message>
</context>
<context>
    <name>ClarisseXml</name>
    <message>
        <source>丢失文件：%1</source>
        <translation>Missing file: %1</translation>
    </message>
</context>
<context>
    <name>CmdHand</name>
    <message>
        <source>请输入正整数</source>
        <translation>Please enter a positive whole number</translation>
    </message>
    <message>
        <source>请输入补帧号</source>
        <translation>Please enter the frames to add</translation>
    </message>
    <message>
        <source>没有相关子任务</source>
        <translation>No such sub-task</translation>
    </message>
    <message>
        <source>没有相关传输</source>
        <translation>No such transfer</translation>
    </message>
    <message>
        <source>正在处理的请求过多，请稍后再试</source>
        <translation>Too many requests are being worked on, try again later</translation>
    </message>
    <message>
        <source>%1 不是农场的服务器，不予转发</source>
        <translation>%1 is no server of the farm and isn&apos;t forwarded</translation>
    </message>
    <message>
        <source>解析尚未完成，参数还不能修改</source>
        <translation>The analysis isn&apos;t finished, parameters can&apos;t be changed yet</translation>
    </message>
    <message>
        <source>服务器没有应答，请稍后再试</source>
        <translation>The server doesn&apos;t answer, try again later</translation>
    </message>
    <message>
        <source>没有此接口</source>
        <translation>There is no such interface</translation>
    </message>
    <message>
        <source>客户端未登录</source>
        <translation>The client isn&apos;t logged in</translation>
    </message>
    <message>
        <source>输出路径不存在</source>
        <translation>The output folder doesn&apos;t exist</translation>
    </message>
    <message>
        <source>已打开本地目录</source>
        <translation>The local folder is open</translation>
    </message>
    <message>
        <source>已加入下载队列</source>
        <translation>Added to the download queue</translation>
    </message>
    <message>
        <source>一次最多处理%1个</source>
        <translation>At most %1 at a time</translation>
    </message>
    <message>
        <source>没有相关大任务</source>
        <translation>No such task</translation>
    </message>
    <message>
        <source>参数异常</source>
        <translation>Bad parameters</translation>
    </message>
    <message>
        <source>客户端调用结束</source>
        <translation>The call to the client is over</translation>
    </message>
    <message>
        <source>提交到客户端失败</source>
        <translation>Handing over to the client failed</translation>
    </message>
    <message>
        <source>提交到客户端成功</source>
        <translation>Handed over to the client</translation>
    </message>
    <message>
        <source>获取解析列表</source>
        <translation>List of analyses</translation>
    </message>
    <message>
        <source>没有此订单下的模型</source>
        <translation>There is no scene of this order</translation>
    </message>
    <message>
        <source>任务已提交，参数不能再修改</source>
        <translation>The task is submitted, its parameters can&apos;t be changed any more</translation>
    </message>
    <message>
        <source>参数保存失败</source>
        <translation>The parameters could not be saved</translation>
    </message>
    <message>
        <source>没有解析日志</source>
        <translation>There is no analysis log</translation>
    </message>
    <message>
        <source>文件不存在：%1</source>
        <translation>No such file: %1</translation>
    </message>
    <message>
        <source>缺少参数</source>
        <translation>An argument is missing</translation>
    </message>
    <message>
        <source>文件打开失败</source>
        <translation>The file can't be opened</translation>
    </message>
    <message>
        <source>传输无法保存</source>
        <translation>The transfer can't be saved</translation>
    </message>
    <message>
        <source>其他机器调用此接口需要令牌（Server/apiToken）</source>
        <translation>Other machines need the token for this route (Server/apiToken)</translation>
    </message>
    <message>
        <source>没有相关校验</source>
        <translation>No such comparison</translation>
    </message>
    <message>
        <source>正在进行的校验过多，请稍后再试</source>
        <translation>Too many comparisons are running; try again later</translation>
    </message>
    <message>
        <source>校验没有完成</source>
        <translation>The comparison didn't come to its end</translation>
    </message>
    <message>
        <source>不是场景文件：%1</source>
        <translation>Not a scene file: %1</translation>
    </message>
    <message>
        <source>农场不支持解析此类文件：%1</source>
        <translation>The farm can't analyse files of this kind: %1</translation>
    </message>
    <message>
        <source>当前状态不能提交：%1</source>
        <translation>It can't be submitted in its state: %1</translation>
    </message>
    <message>
        <source>您还没有提交渲染的权限，请联系您的母账号开通！</source>
        <translation>You have no right to submit; ask your main account for it!</translation>
    </message>
    <message>
        <source>您还没有解析文件的权限，请联系您的母账号开通！</source>
        <translation>You have no right to analyse files; ask your main account for it!</translation>
    </message>
    <message>
        <source>没有相关解析记录</source>
        <translation>No such analysis</translation>
    </message>
    <message>
        <source>解析记录无法保存</source>
        <translation>The analysis can't be saved</translation>
    </message>
</context>
<context>
    <name>CommonAdvanced</name>
    <message>
        <source>解析</source>
        <translation>Analysis</translation>
    </message>
    <message>
        <source>补帧</source>
        <translation>Filling frames</translation>
    </message>
    <message>
        <source>补帧方式</source>
        <translation>Filled frames</translation>
    </message>
    <message>
        <source>补帧生成新任务</source>
        <translation>Make a new task</translation>
    </message>
    <message>
        <source>补帧不生成新任务</source>
        <translation>Stay in the task</translation>
    </message>
    <message>
        <source>优先帧分块渲染</source>
        <translation>Priority frames in pieces</translation>
    </message>
    <message>
        <source>块</source>
        <translation>pieces</translation>
    </message>
    <message>
        <source>不分块</source>
        <translation>Whole</translation>
    </message>
    <message>
        <source>传输</source>
        <translation>Transfers</translation>
    </message>
    <message>
        <source>解析时间阈值</source>
        <translation>Analysis time limit</translation>
    </message>
    <message>
        <source>秒</source>
        <translation>s</translation>
    </message>
    <message>
        <source>不限</source>
        <translation>No limit</translation>
    </message>
    <message>
        <source>超时警告提醒并自动跳过</source>
        <translation>Warn beyond it, and skip the scene</translation>
    </message>
    <message>
        <source>解析并发数设置</source>
        <translation>Analyses at a time</translation>
    </message>
    <message>
        <source>(范围1-5)</source>
        <translation>(1 to 5)</translation>
    </message>
    <message>
        <source>解析方式</source>
        <translation>Way of analysis</translation>
    </message>
    <message>
        <source>普通解析</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>高级解析</source>
        <translation>Fast</translation>
    </message>
    <message>
        <source>(只支持maya软件，解析时CPU占用较高)</source>
        <translation>(Maya only; takes more of the CPU)</translation>
    </message>
    <message>
        <source>跳过解析环节直接提交上传</source>
        <translation>Submit and upload without an analysis</translation>
    </message>
    <message>
        <source>(此功能只针对Maya文件生效)</source>
        <translation>(for Maya files only)</translation>
    </message>
    <message>
        <source>上传Redshift Cache</source>
        <translation>Redshift cache</translation>
    </message>
    <message>
        <source>不上传</source>
        <translation>Don&apos;t upload</translation>
    </message>
    <message>
        <source>上传</source>
        <translation>Upload</translation>
    </message>
    <message>
        <source>(仅限maya)</source>
        <translation>(Maya only)</translation>
    </message>
    <message>
        <source>分层提交</source>
        <translation>Submit layers apart</translation>
    </message>
    <message>
        <source>请选择不同的起止时间</source>
        <translation>Choose two different times</translation>
    </message>
    <message>
        <source>上传速度</source>
        <translation>Upload speed</translation>
    </message>
    <message>
        <source>下载速度</source>
        <translation>Download speed</translation>
    </message>
    <message>
        <source>分时段使用另一速度</source>
        <translation>Another speed at certain hours</translation>
    </message>
    <message>
        <source>开始时间</source>
        <translation>From</translation>
    </message>
    <message>
        <source>结束时间</source>
        <translation>To</translation>
    </message>
    <message>
        <source>时段内上传速度</source>
        <translation>Upload speed then</translation>
    </message>
    <message>
        <source>时段内下载速度</source>
        <translation>Download speed then</translation>
    </message>
    <message>
        <source>上传并发数</source>
        <translation>Uploads at a time</translation>
    </message>
    <message>
        <source>下载并发数</source>
        <translation>Downloads at a time</translation>
    </message>
    <message>
        <source>上传校验方式</source>
        <translation>Upload check</translation>
    </message>
    <message>
        <source>MD5(耗时长)</source>
        <translation>MD5 (slow)</translation>
    </message>
    <message>
        <source>简单hash（绝对路径+大小+修改时间，耗时短）</source>
        <translation>Simple (path, size and time; quick)</translation>
    </message>
    <message>
        <source>传输线路</source>
        <translation>Line</translation>
    </message>
    <message>
        <source>外网</source>
        <translation>Internet</translation>
    </message>
    <message>
        <source>内网</source>
        <translation>Local network</translation>
    </message>
</context>
<context>
    <name>CommonSet</name>
    <message>
        <source>%1 小时</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>%1 分</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 秒</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>常规</source>
        <translation>General</translation>
    </message>
    <message>
        <source>开机自启动</source>
        <translation>Start with the system</translation>
    </message>
    <message>
        <source>语言设置</source>
        <translation>Language</translation>
    </message>
    <message>
        <source>渲染结果</source>
        <translation>Results</translation>
    </message>
    <message>
        <source>提交</source>
        <translation>Submitting</translation>
    </message>
    <message>
        <source>渲染时间</source>
        <translation>Render time</translation>
    </message>
    <message>
        <source>渲染时间阈值</source>
        <translation>Render time limit</translation>
    </message>
    <message>
        <source>(子任务的渲染时间)</source>
        <translation>(of a sub-task)</translation>
    </message>
    <message>
        <source>秒</source>
        <translation>s</translation>
    </message>
    <message>
        <source>不限</source>
        <translation>No limit</translation>
    </message>
    <message>
        <source>超过阈值</source>
        <translation>Beyond the limit</translation>
    </message>
    <message>
        <source>不处理</source>
        <translation>Nothing happens</translation>
    </message>
    <message>
        <source>超时警告提醒</source>
        <translation>Warn</translation>
    </message>
    <message>
        <source>超时警告提醒并取消任务</source>
        <translation>Warn and cancel the task</translation>
    </message>
    <message>
        <source>结果保存路径</source>
        <translation>Result folder</translation>
    </message>
    <message>
        <source>项目的出图路径</source>
        <translation>The project&apos;s output folder</translation>
    </message>
    <message>
        <source>场景所在文件夹</source>
        <translation>The scene&apos;s folder</translation>
    </message>
    <message>
        <source>示例：%1</source>
        <translation>Example: %1</translation>
    </message>
    <message>
        <source>%project% 项目，%submit% 提交日期，%order% 订单号，用 / 分隔文件夹</source>
        <translation>%project% project, %submit% day of the order, %order% its number; / separates folders</translation>
    </message>
    <message>
        <source>此规则不能用作文件夹名</source>
        <translation>This can&apos;t be a folder&apos;s name</translation>
    </message>
    <message>
        <source>结果输出位置</source>
        <translation>Results go to</translation>
    </message>
    <message>
        <source>Maya结果输出位置</source>
        <translation>Maya results go to</translation>
    </message>
    <message>
        <source>自定义路径规则</source>
        <translation>A path rule of my own</translation>
    </message>
    <message>
        <source>路径规则</source>
        <translation>Path rule</translation>
    </message>
    <message>
        <source>渲染结果自动推送</source>
        <translation>Push results automatically</translation>
    </message>
    <message>
        <source>自动下载渲染结果</source>
        <translation>Download results</translation>
    </message>
    <message>
        <source>自动下载</source>
        <translation>Automatically</translation>
    </message>
    <message>
        <source>手动下载</source>
        <translation>When asked</translation>
    </message>
    <message>
        <source>解析结果正常，自动提交任务</source>
        <translation>Submit by itself after a clean analysis</translation>
    </message>
    <message>
        <source>忽略解析结果的警告信息，自动提交任务</source>
        <translation>Submit by itself in spite of warnings</translation>
    </message>
    <message>
        <source>默认优先渲染前中后三帧</source>
        <translation>Render first, middle and last frame first</translation>
    </message>
    <message>
        <source>优先帧渲染后</source>
        <translation>After the priority frames</translation>
    </message>
    <message>
        <source>优先帧渲染完成后，自动开始渲染</source>
        <translation>Go on automatically</translation>
    </message>
    <message>
        <source>优先帧渲染完成后，等待手动开始渲染</source>
        <translation>Wait until I start it</translation>
    </message>
    <message>
        <source>选择…</source>
        <translation>Choose…</translation>
    </message>
    <message>
        <source>任务结束通知</source>
        <translation>Notes of tasks that are over</translation>
    </message>
    <message>
        <source>通知</source>
        <translation>Notify</translation>
    </message>
    <message>
        <source>不通知</source>
        <translation>Don&apos;t notify</translation>
    </message>
</context>
<context>
    <name>ContactModel</name>
    <message>
        <source>%1（缺）</source>
        <translation>%1 (missing)</translation>
    </message>
    <message>
        <source>第 %1 帧还没有</source>
        <translation>Frame %1 isn&apos;t there yet</translation>
    </message>
    <message>
        <source>第 %1 帧</source>
        <translation>Frame %1</translation>
    </message>
</context>
<context>
    <name>ContactSheet</name>
    <message>
        <source>所有帧</source>
        <translation>All frames</translation>
    </message>
</context>
<context>
    <name>DialogFrame</name>
    <message>
        <source>重试</source>
        <translation>Retry</translation>
    </message>
</context>
<context>
    <name>DoneTable</name>
    <message>
        <source>查看图片</source>
        <translation>View pictures</translation>
    </message>
    <message>
        <source>文件夹里没有图片：%1</source>
        <translation>There are no pictures in the folder: %1</translation>
    </message>
    <message>
        <source>下载</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>上传</source>
        <translation>Upload</translation>
    </message>
    <message>
        <source>已完成列表</source>
        <translation>List of finished transfers</translation>
    </message>
    <message>
        <source>还没有完成的传输</source>
        <translation>Nothing has finished yet</translation>
    </message>
    <message>
        <source>上传完的订单和下载完的结果会列在这里</source>
        <translation>Orders that are uploaded and results that are here are listed here</translation>
    </message>
    <message>
        <source>搜索文件名称或订单号</source>
        <translation>Search name or order</translation>
    </message>
    <message>
        <source>文件名称</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>类型</source>
        <translation>Kind</translation>
    </message>
    <message>
        <source>订单号</source>
        <translation>Order</translation>
    </message>
    <message>
        <source>文件数</source>
        <translation>Files</translation>
    </message>
    <message>
        <source>文件大小</source>
        <translation>Size</translation>
    </message>
    <message>
        <source>完成时间</source>
        <translation>Finished</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>文件夹打不开：%1</source>
        <translation>The folder can&apos;t be opened: %1</translation>
    </message>
    <message>
        <source>全部</source>
        <translation>All</translation>
    </message>
    <message>
        <source>打开目录</source>
        <translation>Open folder</translation>
    </message>
    <message>
        <source>重新下载</source>
        <translation>Download again</translation>
    </message>
    <message>
        <source>删除记录</source>
        <translation>Remove entry</translation>
    </message>
    <message>
        <source>没有找到</source>
        <translation>Nothing found</translation>
    </message>
    <message>
        <source>换一个词，或清除搜索</source>
        <translation>Try another word, or clear the search</translation>
    </message>
    <message>
        <source>已删除 %1 条记录</source>
        <translation>%1 entries are removed</translation>
    </message>
</context>
<context>
    <name>DownCover</name>
    <message>
        <source>序列检查</source>
        <translation>Sequence check</translation>
    </message>
    <message>
        <source>全部覆盖</source>
        <translation>Overwrite all</translation>
    </message>
    <message>
        <source>跳过已存在</source>
        <translation>Skip existing</translation>
    </message>
    <message>
        <source>任务 %1</source>
        <translation>Task %1</translation>
    </message>
</context>
<context>
    <name>DownHandler</name>
    <message>
        <source>任务 %1 的结果列表获取失败，请检查网络后重新下载</source>
        <translation>The results of task %1 could not be listed. Check the network and download again</translation>
    </message>
    <message>
        <source>任务 %1 的结果列表获取失败：%2</source>
        <translation>The results of task %1 could not be listed: %2</translation>
    </message>
    <message>
        <source>暂无结果文件</source>
        <translation>There are no result files yet</translation>
    </message>
    <message>
        <source>文件已全部下载完成</source>
        <translation>All files are downloaded</translation>
    </message>
    <message>
        <source>任务：%1</source>
        <translation>Task: %1</translation>
    </message>
    <message>
        <source>任务 %1 有 %2 个结果的路径不能用，已跳过：<byte value="xd"/>
%3</source>
        <translation>Task %1: %2 results have paths that cannot be used and were passed by:<byte value="xd"/>
%3</translation>
    </message>
    <message>
        <source>已存在 %1 个文件，共 %2 个</source>
        <translation>%1 of %2 files are here already</translation>
    </message>
    <message>
        <source>以下帧缺失，请重新下载：<byte value="xd"/>
%1</source>
        <translation>These frames are missing, download them again:<byte value="xd"/>
%1</translation>
    </message>
</context>
<context>
    <name>EngineVoice</name>
    <message>
        <source>账户余额不足无法下载，请充值！（%1）</source>
        <translation>The balance is too low to download results. Please top up. (%1)</translation>
    </message>
    <message>
        <source>去配置</source>
        <translation>Set it</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Back</translation>
    </message>
</context>
<context>
    <name>EnvBlock</name>
    <message>
        <source>软件</source>
        <translation>Software</translation>
    </message>
    <message>
        <source>插件</source>
        <translation>Plug-ins</translation>
    </message>
    <message>
        <source>默认</source>
        <translation>Default</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>环境配置</source>
        <translation>Environments</translation>
    </message>
    <message>
        <source>没有环境配置</source>
        <translation>No environments yet</translation>
    </message>
    <message>
        <source>点击“+ 添加配置”创建</source>
        <translation>Press “+ Add environment” to make one</translation>
    </message>
    <message>
        <source>+ 添加配置</source>
        <translation>+ Add environment</translation>
    </message>
    <message>
        <source>设为默认</source>
        <translation>Make default</translation>
    </message>
    <message>
        <source>编辑</source>
        <translation>Edit</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>确定删除此环境配置吗？</source>
        <translation>Delete this environment?</translation>
    </message>
</context>
<context>
    <name>EnvNew</name>
    <message>
        <source>添加配置</source>
        <translation>New environment</translation>
    </message>
    <message>
        <source>编辑配置</source>
        <translation>Edit environment</translation>
    </message>
    <message>
        <source>软件版本</source>
        <translation>Software version</translation>
    </message>
    <message>
        <source>启用GPU渲染：</source>
        <translation>Render on GPU:</translation>
    </message>
    <message>
        <source>保存</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>可选插件</source>
        <translation>Available plug-ins</translation>
    </message>
    <message>
        <source>搜索插件</source>
        <translation>Search plug-ins</translation>
    </message>
    <message>
        <source>添加插件</source>
        <translation>Add plug-in</translation>
    </message>
    <message>
        <source>移除插件</source>
        <translation>Remove plug-in</translation>
    </message>
    <message>
        <source>已选插件</source>
        <translation>Chosen plug-ins</translation>
    </message>
    <message>
        <source>服务器没有提供此软件的版本</source>
        <translation>The server offers no version of this software</translation>
    </message>
    <message>
        <source>未选择渲染器</source>
        <translation>No renderer is chosen</translation>
    </message>
    <message>
        <source>继续保存</source>
        <translation>Save anyway</translation>
    </message>
    <message>
        <source>创建失败</source>
        <translation>Not created</translation>
    </message>
    <message>
        <source>修改失败</source>
        <translation>Not changed</translation>
    </message>
</context>
<context>
    <name>EnvPre</name>
    <message>
        <source>没有可供选择的项目或机型</source>
        <translation>There is no project or machine to choose</translation>
    </message>
    <message>
        <source>没有检测到出图路径，请去项目管理设置</source>
        <translation>No result folder is set, set one with the project</translation>
    </message>
    <message>
        <source>请选择环境</source>
        <translation>Choose an environment</translation>
    </message>
    <message>
        <source>项目路径不存在</source>
        <translation>The project folder doesn&apos;t exist</translation>
    </message>
    <message>
        <source>余额不足，请充值</source>
        <translation>The balance is too low, please top up</translation>
    </message>
    <message>
        <source>提交%1文件</source>
        <translation>Submit %1 scenes</translation>
    </message>
    <message>
        <source>… 共 %1 个文件</source>
        <translation>… %1 files in all</translation>
    </message>
    <message>
        <source>工程路径</source>
        <translation>Project folder</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>解析队列尚未就绪，请稍后重试</source>
        <translation>The analysis queue isn&apos;t ready yet, try again in a moment</translation>
    </message>
    <message>
        <source>开始解析</source>
        <translation>Start analysis</translation>
    </message>
    <message>
        <source>新建项目</source>
        <translation>New project</translation>
    </message>
    <message>
        <source>编辑环境</source>
        <translation>Edit environments</translation>
    </message>
    <message>
        <source>场景</source>
        <translation>Scenes</translation>
    </message>
    <message>
        <source>项目</source>
        <translation>Project</translation>
    </message>
    <message>
        <source>环境</source>
        <translation>Environment</translation>
    </message>
    <message>
        <source>机型</source>
        <translation>Machine</translation>
    </message>
    <message>
        <source>正在读取…</source>
        <translation>Loading…</translation>
    </message>
    <message>
        <source>提交成功，请致客户端查看！</source>
        <translation>Submitted. See the render client for its progress.</translation>
    </message>
    <message>
        <source>提交失败，请联系客服人员！</source>
        <translation>Submission failed, please contact support.</translation>
    </message>
</context>
<context>
    <name>EnvSet</name>
    <message>
        <source>编辑环境</source>
        <translation>Edit environments</translation>
    </message>
    <message>
        <source>工程路径</source>
        <translation>Project folder</translation>
    </message>
    <message>
        <source>出图路径</source>
        <translation>Output folder</translation>
    </message>
    <message>
        <source>子任务帧数</source>
        <translation>Frames per sub-task</translation>
    </message>
    <message>
        <source>不指定</source>
        <translation>Not set</translation>
    </message>
    <message>
        <source>保存路径</source>
        <translation>Save folders</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>修改失败</source>
        <translation>Not changed</translation>
    </message>
    <message>
        <source>删除失败</source>
        <translation>Not deleted</translation>
    </message>
    <message>
        <source>路径尚未保存，确定放弃修改吗？</source>
        <translation>The folders aren&apos;t saved. Discard the changes?</translation>
    </message>
    <message>
        <source>放弃修改</source>
        <translation>Discard</translation>
    </message>
    <message>
        <source>文件夹不存在</source>
        <translation>The folder doesn&apos;t exist</translation>
    </message>
    <message>
        <source>保存成功</source>
        <translation>Saved</translation>
    </message>
</context>
<context>
    <name>Form</name>
    <message>
        <source>%1 帧：%2</source>
        <translation>%1 frames: %2</translation>
    </message>
    <message>
        <source>：</source>
        <translation>:</translation>
    </message>
    <message>
        <source>浏览 %1</source>
        <translation>Browse %1</translation>
    </message>
    <message>
        <source>%1不能为空</source>
        <translation>%1 must not be empty</translation>
    </message>
    <message>
        <source>请输入数字</source>
        <translation>Enter a number</translation>
    </message>
    <message>
        <source>请输入 %1 到 %2 之间的数字</source>
        <translation>Enter a number from %1 to %2</translation>
    </message>
    <message>
        <source>最多 %1 个字符</source>
        <translation>At most %1 characters</translation>
    </message>
</context>
<context>
    <name>FrameCanvas</name>
    <message>
        <source>图片</source>
        <translation>Picture</translation>
    </message>
</context>
<context>
    <name>FrameReader</name>
    <message>
        <source>图片太大：%1*%2</source>
        <translation>The picture is too large: %1*%2</translation>
    </message>
    <message>
        <source>图片无法预览</source>
        <translation>The picture can&apos;t be shown</translation>
    </message>
    <message>
        <source>文件不存在</source>
        <translation>The file isn&apos;t there</translation>
    </message>
    <message>
        <source>文件打开失败</source>
        <translation>The file can&apos;t be opened</translation>
    </message>
    <message>
        <source>文件太大</source>
        <translation>The file is too large</translation>
    </message>
</context>
<context>
    <name>FrameSet</name>
    <message>
        <source>不支持输入英文，请检查！</source>
        <translation>Letters aren&apos;t allowed here, please check!</translation>
    </message>
    <message>
        <source>输入的字符格式不正确，请检查！</source>
        <translation>The format isn&apos;t right, please check!</translation>
    </message>
    <message>
        <source>请输入参数设置项的序列帧！</source>
        <translation>Enter the frame sequence of the parameters!</translation>
    </message>
    <message>
        <source>参数设置项的序列帧只支持从小到大排列！</source>
        <translation>The frame sequence of the parameters must ascend!</translation>
    </message>
    <message>
        <source>参数设置项的隔帧不在有效序列帧范围内！</source>
        <translation>The frame step lies outside the frame sequence!</translation>
    </message>
    <message>
        <source>帧序列只支持从小到大排列！</source>
        <translation>The frame sequence must ascend!</translation>
    </message>
    <message>
        <source>优先帧不在序列帧范围内！</source>
        <translation>The priority frames lie outside the frame sequence!</translation>
    </message>
</context>
<context>
    <name>FrameView</name>
    <message>
        <source>图片预览</source>
        <translation>Picture</translation>
    </message>
    <message>
        <source>彩色</source>
        <translation>Colour</translation>
    </message>
    <message>
        <source>亮度</source>
        <translation>Luminance</translation>
    </message>
    <message>
        <source>通道</source>
        <translation>Channel</translation>
    </message>
    <message>
        <source>曝光</source>
        <translation>Exposure</translation>
    </message>
    <message>
        <source>伽马</source>
        <translation>Gamma</translation>
    </message>
    <message>
        <source>不对比</source>
        <translation>No comparison</translation>
    </message>
    <message>
        <source>并排</source>
        <translation>Side by side</translation>
    </message>
    <message>
        <source>划变</source>
        <translation>Wipe</translation>
    </message>
    <message>
        <source>对比</source>
        <translation>Compare</translation>
    </message>
    <message>
        <source>适合窗口</source>
        <translation>Fit</translation>
    </message>
    <message>
        <source>实际像素</source>
        <translation>Pixel for pixel</translation>
    </message>
    <message>
        <source>缩略图</source>
        <translation>Sheet</translation>
    </message>
    <message>
        <source>选择对比的图片</source>
        <translation>Choose a picture to compare</translation>
    </message>
    <message>
        <source>播放</source>
        <translation>Play</translation>
    </message>
    <message>
        <source>暂停</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>每秒帧数</source>
        <translation>Frames per second</translation>
    </message>
    <message>
        <source>帧</source>
        <translation>Frame</translation>
    </message>
    <message>
        <source>读取中 ...</source>
        <translation>Reading ...</translation>
    </message>
    <message>
        <source>第 %1 帧，共 %2 帧</source>
        <translation>Frame %1 of %2 frames</translation>
    </message>
    <message>
        <source>，缺 %1 帧</source>
        <translation>, %1 missing</translation>
    </message>
    <message>
        <source>第 %1 帧还没有</source>
        <translation>Frame %1 isn&apos;t there yet</translation>
    </message>
    <message>
        <source>，浮点</source>
        <translation>, float</translation>
    </message>
    <message>
        <source>对比图片</source>
        <translation>Compare with</translation>
    </message>
    <message>
        <source>固定当前帧</source>
        <translation>Hold this frame</translation>
    </message>
    <message>
        <source>窗口：%1</source>
        <translation>Window: %1</translation>
    </message>
    <message>
        <source>选择文件 ...</source>
        <translation>Choose a file ...</translation>
    </message>
    <message>
        <source>，预览</source>
        <translation>, preview</translation>
    </message>
</context>
<context>
    <name>HeadBar</name>
    <message>
        <source>语言</source>
        <translation>Language</translation>
    </message>
    <message>
        <source>账户余额，点击刷新</source>
        <translation>Balance, click to refresh</translation>
    </message>
    <message>
        <source>充值</source>
        <translation>Top up</translation>
    </message>
    <message>
        <source>消息</source>
        <translation>Messages</translation>
    </message>
    <message>
        <source>账号</source>
        <translation>Account</translation>
    </message>
    <message>
        <source>切换账号</source>
        <translation>Switch account</translation>
    </message>
    <message>
        <source>退出程序</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>设置</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>软件更新</source>
        <translation>Software updates</translation>
    </message>
</context>
<context>
    <name>Leaving</name>
    <message>
        <source>还有 %1 个场景正在解析，退出后将中断，下次启动时重新解析。</source>
        <translation>%1 scenes are being analysed; leaving stops that, the next start analyses them anew.</translation>
    </message>
    <message>
        <source>还有 %1 个场景未上传完，下次启动时继续上传。</source>
        <translation>%1 scenes aren&apos;t uploaded yet; the next start goes on with them.</translation>
    </message>
    <message>
        <source>确定退出程序吗？</source>
        <translation>Quit the program?</translation>
    </message>
    <message>
        <source>退出</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>重新启动</source>
        <translation>Restart</translation>
    </message>
</context>
<context>
    <name>LeftMenu</name>
    <message>
        <source>菜单</source>
        <translation>Menu</translation>
    </message>
    <message>
        <source>有新内容</source>
        <translation>Something new</translation>
    </message>
</context>
<context>
    <name>LinkLine</name>
    <message>
        <source>重新连接中 …</source>
        <translation>Reconnecting …</translation>
    </message>
    <message>
        <source>立即重试</source>
        <translation>Try now</translation>
    </message>
    <message>
        <source>现在就重新连接服务器</source>
        <translation>Connect to the server again now</translation>
    </message>
</context>
<context>
    <name>LogParser</name>
    <message>
        <source>文件内设置的渲染器与所选渲染器不一致，请修改后再提交</source>
        <translation>The renderer set in the file isn&apos;t the chosen one. Change it, then submit</translation>
    </message>
</context>
<context>
    <name>LogText</name>
    <message>
        <source>日志内容</source>
        <translation>Log</translation>
    </message>
</context>
<context>
    <name>LogView</name>
    <message>
        <source>日志查看</source>
        <translation>Log</translation>
    </message>
    <message>
        <source>搜索，可用正则表达式</source>
        <translation>Search, also with regular expressions</translation>
    </message>
    <message>
        <source>搜索日志</source>
        <translation>Search the log</translation>
    </message>
    <message>
        <source>上一个</source>
        <translation>Previous</translation>
    </message>
    <message>
        <source>下一个</source>
        <translation>Next</translation>
    </message>
    <message>
        <source>下一个错误</source>
        <translation>Next error</translation>
    </message>
    <message>
        <source>自动换行</source>
        <translation>Wrap lines</translation>
    </message>
    <message>
        <source>编码</source>
        <translation>Encoding</translation>
    </message>
    <message>
        <source>复制</source>
        <translation>Copy</translation>
    </message>
    <message>
        <source>另存为</source>
        <translation>Save as</translation>
    </message>
    <message>
        <source>日志已重新开始</source>
        <translation>The log has begun anew</translation>
    </message>
    <message>
        <source>%L1 行，%L2 字节</source>
        <translation>%L1 lines, %L2 bytes</translation>
    </message>
    <message>
        <source>日志无法写入：%1</source>
        <translation>The log can&apos;t be written: %1</translation>
    </message>
    <message>
        <source>表达式有误：%1</source>
        <translation>The expression is wrong: %1</translation>
    </message>
    <message>
        <source>搜索中 ...</source>
        <translation>Searching ...</translation>
    </message>
    <message>
        <source>没有找到</source>
        <translation>Nothing found</translation>
    </message>
    <message>
        <source>已复制 %L1 行</source>
        <translation>%L1 lines copied</translation>
    </message>
    <message>
        <source>已保存：%1</source>
        <translation>Saved: %1</translation>
    </message>
    <message>
        <source>无法保存：%1</source>
        <translation>Can&apos;t be saved: %1</translation>
    </message>
</context>
<context>
    <name>Login</name>
    <message>
        <source>服务器没有给出账号，请重新登录</source>
        <translation>The server named no account, please log in again</translation>
    </message>
    <message>
        <source>正在打开登录页…</source>
        <translation>Opening the login page…</translation>
    </message>
    <message>
        <source>连接不上服务器，正在自动重试
请检查网络</source>
        <translation>The server can&apos;t be reached, trying again automatically
Please check the network</translation>
    </message>
    <message>
        <source>正在连接服务器…</source>
        <translation>Connecting to the server…</translation>
    </message>
    <message>
        <source>登录</source>
        <translation>Log in</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>任务 %1 的结果要保存到以下文件夹，但本机没有用过它：<byte value="xd"/>
%2<byte value="xd"/>
是否允许保存到该文件夹？</source>
        <translation>The results of task %1 are to be saved in this folder, which this computer has not used so far:<byte value="xd"/>
%2<byte value="xd"/>
May they be saved there?</translation>
    </message>
    <message>
        <source>语言在重新启动后生效，现在重新启动吗？</source>
        <translation>The language changes with the next start. Start again now?</translation>
    </message>
    <message>
        <source>渲染客户端</source>
        <translation>Render client</translation>
    </message>
    <message>
        <source>收起菜单</source>
        <translation>Fold the menu</translation>
    </message>
    <message>
        <source>渲染管理</source>
        <translation>Rendering</translation>
    </message>
    <message>
        <source>解析提交</source>
        <translation>Submit scenes</translation>
    </message>
    <message>
        <source>传输管理</source>
        <translation>Transfers</translation>
    </message>
    <message>
        <source>用户中心</source>
        <translation>Account</translation>
    </message>
    <message>
        <source>个人中心</source>
        <translation>User centre</translation>
    </message>
    <message>
        <source>充值中心</source>
        <translation>Top up</translation>
    </message>
    <message>
        <source>会员购买</source>
        <translation>Membership</translation>
    </message>
    <message>
        <source>使用帮助</source>
        <translation>Help</translation>
    </message>
    <message>
        <source>渲染指南</source>
        <translation>Render guide</translation>
    </message>
    <message>
        <source>网络诊断</source>
        <translation>Network check</translation>
    </message>
    <message>
        <source>展开菜单</source>
        <translation>Unfold the menu</translation>
    </message>
    <message>
        <source>优先帧完成</source>
        <translation>Priority frames are done</translation>
    </message>
    <message>
        <source>任务管理</source>
        <translation>Tasks</translation>
    </message>
    <message>
        <source>历史任务</source>
        <translation>History</translation>
    </message>
    <message>
        <source>项目 %1</source>
        <translation>Project %1</translation>
    </message>
    <message>
        <source>插件管理</source>
        <translation>Plug-ins</translation>
    </message>
    <message>
        <source>我的云盘</source>
        <translation>My drive</translation>
    </message>
</context>
<context>
    <name>MaxLog</name>
    <message>
        <source>警告：没有设置默认相机。<byte value="xd"/>
</source>
        <translation>Warning: no default camera is set.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>警告：未解析到本地光子，请在参数设置里面修改光子模式或重新指认光子路径。<byte value="xd"/>
</source>
        <translation>Warning: no local photon map was found. Change the photon mode in the parameters or point to the photon file again.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>警告：未找到以下贴图<byte value="xd"/>
</source>
        <translation>Warning: these textures were not found<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：选定的相机名中含有非法字符。<byte value="xd"/>
</source>
        <translation>Error: the name of the chosen camera holds illegal characters.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：帧缓存输出路径无效。<byte value="xd"/>
%1<byte value="xd"/>
</source>
        <translation>Error: the output path of the frame buffer isn&apos;t valid.<byte value="xd"/>
%1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：未设置帧缓存输出路径。<byte value="xd"/>
%1<byte value="xd"/>
</source>
        <translation>Error: the frame buffer has no output path.<byte value="xd"/>
%1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：未设置输出自动保存。<byte value="xd"/>
%1<byte value="xd"/>
</source>
        <translation>Error: saving the output isn&apos;t switched on.<byte value="xd"/>
%1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：制作模型的软件版本与选择的软件版本不同。<byte value="xd"/>
</source>
        <translation>Error: the scene was made with another version of the software than the chosen one.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：模型文件中包含可执行脚本，请清理后提交。<byte value="xd"/>
</source>
        <translation>Error: the scene holds executable scripts. Remove them, then submit.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>当前渲染器为GPU渲染器，提交机型为CPU，请更换机型后重新提交。<byte value="xd"/>
</source>
        <translation>The renderer runs on a GPU, the chosen machine is a CPU machine. Choose another machine and submit again.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：没有可用相机。<byte value="xd"/>
</source>
        <translation>Error: there is no usable camera.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：出图高度解析异常。<byte value="xd"/>
</source>
        <translation>Error: the image height could not be read.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>错误：出图宽度解析异常。<byte value="xd"/>
</source>
        <translation>Error: the image width could not be read.<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>警告：无输出路径，请先进行参数设置<byte value="xd"/>
</source>
        <translation>Warning: no output path, set the parameters first<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>当前渲染器为CPU渲染器，机型选择GPU，请确认机型后提交。<byte value="xd"/>
</source>
        <translation>The renderer runs on a CPU, the chosen machine is a GPU machine. Check the machine before you submit.<byte value="xd"/>
</translation>
    </message>
</context>
<context>
    <name>MissionBuilder</name>
    <message>
        <source>%1_优先帧</source>
        <translation>%1_priority</translation>
    </message>
</context>
<context>
    <name>ModelAnalysis</name>
    <message>
        <source>主机不认识此分机，请重新启动分机上的客户端，或在两边设置相同的令牌</source>
        <translation>The master doesn&apos;t know this seat. Restart the client on the seat, or set the same token on both</translation>
    </message>
    <message>
        <source>以下%1个文件位于系统目录或隐藏目录，未加入上传：</source>
        <translation>These %1 files lie in folders of the system or hidden ones and aren&apos;t uploaded:</translation>
    </message>
    <message>
        <source>场景文件中包含多种类型，请筛选后再拖入！</source>
        <translation>The scenes are of several kinds. Drop one kind at a time!</translation>
    </message>
    <message>
        <source>请拖入类型为%1场景文件！</source>
        <translation>Drop scene files of type %1!</translation>
    </message>
    <message>
        <source>没有模型文件</source>
        <translation>There is no scene file</translation>
    </message>
    <message>
        <source>缺失软件类型</source>
        <translation>The software is missing</translation>
    </message>
    <message>
        <source>缺失项目信息</source>
        <translation>The project is missing</translation>
    </message>
    <message>
        <source>项目路径不存在</source>
        <translation>The project folder doesn&apos;t exist</translation>
    </message>
    <message>
        <source>缺失机型</source>
        <translation>The machine is missing</translation>
    </message>
    <message>
        <source>上级账号不匹配，请重新设置</source>
        <translation>The superior account doesn&apos;t match, set it again</translation>
    </message>
    <message>
        <source>缺失场景文件</source>
        <translation>The scene file is missing</translation>
    </message>
</context>
<context>
    <name>MsgBox</name>
    <message>
        <source>提示</source>
        <translation>Note</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>MsgCenter</name>
    <message>
        <source>消息中心</source>
        <translation>Messages</translation>
    </message>
    <message>
        <source>类型</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>内容</source>
        <translation>Content</translation>
    </message>
    <message>
        <source>时间</source>
        <translation>Time</translation>
    </message>
    <message>
        <source>暂时没有消息</source>
        <translation>There are no messages</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>任务完成</source>
        <translation>Task done</translation>
    </message>
    <message>
        <source>欠费提醒</source>
        <translation>Low balance</translation>
    </message>
    <message>
        <source>充值记录</source>
        <translation>Top-up</translation>
    </message>
    <message>
        <source>标为已读</source>
        <translation>Mark as read</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
</context>
<context>
    <name>NetTexts</name>
    <message>
        <source>未知的网络错误</source>
        <translation>Unknown network error</translation>
    </message>
    <message>
        <source>连接服务器拒绝</source>
        <translation>The server refused the connection</translation>
    </message>
    <message>
        <source>服务器关闭</source>
        <translation>The server closed the connection</translation>
    </message>
    <message>
        <source>未找到服务器</source>
        <translation>The server wasn&apos;t found</translation>
    </message>
    <message>
        <source>没有访问网络的权限，请检查防火墙</source>
        <translation>Access to the network is denied, please check the firewall</translation>
    </message>
    <message>
        <source>系统的网络连接已用尽</source>
        <translation>The system has no more network connections</translation>
    </message>
    <message>
        <source>连接超时</source>
        <translation>The connection timed out</translation>
    </message>
    <message>
        <source>数据包过大</source>
        <translation>The data packet is too large</translation>
    </message>
    <message>
        <source>网络中断，请检查网络连接</source>
        <translation>The network is interrupted, please check the connection</translation>
    </message>
    <message>
        <source>端口已被占用</source>
        <translation>The port is in use</translation>
    </message>
    <message>
        <source>本机没有此网络地址</source>
        <translation>This machine has no such network address</translation>
    </message>
    <message>
        <source>系统不支持此网络操作</source>
        <translation>The system doesn&apos;t support this network operation</translation>
    </message>
    <message>
        <source>上一个网络操作尚未完成</source>
        <translation>The last network operation isn&apos;t finished</translation>
    </message>
    <message>
        <source>代理服务器需要登录</source>
        <translation>The proxy server asks for a login</translation>
    </message>
    <message>
        <source>安全连接失败</source>
        <translation>The secure connection failed</translation>
    </message>
    <message>
        <source>代理服务器拒绝连接</source>
        <translation>The proxy server refused the connection</translation>
    </message>
    <message>
        <source>代理服务器关闭了连接</source>
        <translation>The proxy server closed the connection</translation>
    </message>
    <message>
        <source>代理服务器没有响应</source>
        <translation>The proxy server doesn&apos;t answer</translation>
    </message>
    <message>
        <source>未找到代理服务器</source>
        <translation>The proxy server wasn&apos;t found</translation>
    </message>
    <message>
        <source>代理服务器的应答有误</source>
        <translation>The proxy server&apos;s answer is wrong</translation>
    </message>
    <message>
        <source>网络操作的时机有误</source>
        <translation>The network operation came at the wrong moment</translation>
    </message>
    <message>
        <source>安全连接组件出错</source>
        <translation>The secure connection&apos;s component failed</translation>
    </message>
    <message>
        <source>安全连接的数据有误</source>
        <translation>The data for the secure connection are wrong</translation>
    </message>
    <message>
        <source>网络暂时不可用，请稍后重试</source>
        <translation>The network isn&apos;t available at the moment, please try again later</translation>
    </message>
    <message>
        <source>请求已取消</source>
        <translation>The request was cancelled</translation>
    </message>
    <message>
        <source>没有访问权限</source>
        <translation>Access is denied</translation>
    </message>
    <message>
        <source>服务器上没有此内容</source>
        <translation>The server has no such content</translation>
    </message>
    <message>
        <source>登录已失效，请重新登录</source>
        <translation>The login is no longer valid, please log in again</translation>
    </message>
    <message>
        <source>服务器的应答有误</source>
        <translation>The server&apos;s answer is wrong</translation>
    </message>
    <message>
        <source>服务器内部错误</source>
        <translation>The server has an internal error</translation>
    </message>
    <message>
        <source>服务器暂时不可用</source>
        <translation>The server isn&apos;t available at the moment</translation>
    </message>
    <message>
        <source>网络错误</source>
        <translation>Network error</translation>
    </message>
</context>
<context>
    <name>Pagination</name>
    <message>
        <source>上一页</source>
        <translation>Previous page</translation>
    </message>
    <message>
        <source>下一页</source>
        <translation>Next page</translation>
    </message>
    <message>
        <source>页码</source>
        <translation>Page number</translation>
    </message>
</context>
<context>
    <name>ParameterModel</name>
    <message>
        <source>%1:参数数据格式错误，请重新解析</source>
        <translation>%1: the parameter data is damaged, analyse again</translation>
    </message>
    <message>
        <source>%1:无输出路径，请先进行参数设置</source>
        <translation>%1: no output path, set the parameters first</translation>
    </message>
    <message>
        <source>%1:无默认相机，请先进行参数设置</source>
        <translation>%1: no default camera, set the parameters first</translation>
    </message>
    <message>
        <source>%1:无本地光子，请先进行参数设置</source>
        <translation>%1: no local photon map, set the parameters first</translation>
    </message>
    <message>
        <source>请设置光子路径</source>
        <translation>Set the photon path</translation>
    </message>
    <message>
        <source>光子路径不存在</source>
        <translation>The photon path doesn&apos;t exist</translation>
    </message>
    <message>
        <source>请选择相机</source>
        <translation>Choose a camera</translation>
    </message>
    <message>
        <source>请选择渲染节点</source>
        <translation>Choose a render node</translation>
    </message>
    <message>
        <source>请选择层</source>
        <translation>Choose a layer</translation>
    </message>
    <message>
        <source>请选择节点</source>
        <translation>Choose a node</translation>
    </message>
    <message>
        <source>出图命名规则只能由数字、字母和&lt; &gt; _ - /  </source>
        <translation>The naming rule may hold only digits, letters and &lt; &gt; _ - /  </translation>
    </message>
    <message>
        <source>没有可渲染的内容，请检查场景后重新解析</source>
        <translation>there is nothing to render, check the scene and analyse it again</translation>
    </message>
</context>
<context>
    <name>ProjectNew</name>
    <message>
        <source>项目名不能为空！</source>
        <translation>The project needs a name!</translation>
    </message>
    <message>
        <source>请输入少于20个汉字或40个英文字符！</source>
        <translation>At most 20 Chinese or 40 Latin characters, please!</translation>
    </message>
    <message>
        <source>项目名称只能由中文、字母和数字组成！</source>
        <translation>A project&apos;s name holds Chinese characters, letters and digits only!</translation>
    </message>
    <message>
        <source>新建项目</source>
        <translation>New project</translation>
    </message>
    <message>
        <source>项目名称</source>
        <translation>Project name</translation>
    </message>
    <message>
        <source>中文、字母和数字，最多20个汉字或40个英文字符</source>
        <translation>Letters and digits, at most 40</translation>
    </message>
    <message>
        <source>创建</source>
        <translation>Create</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>创建失败</source>
        <translation>Not created</translation>
    </message>
</context>
<context>
    <name>ProjectSet</name>
    <message>
        <source>项目名称</source>
        <translation>Project name</translation>
    </message>
    <message>
        <source>默认</source>
        <translation>Default</translation>
    </message>
    <message>
        <source>默认项目</source>
        <translation>Default project</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>项目管理</source>
        <translation>Projects</translation>
    </message>
    <message>
        <source>没有项目</source>
        <translation>No projects</translation>
    </message>
    <message>
        <source>点击“新建项目”创建</source>
        <translation>Press “New project” to make one</translation>
    </message>
    <message>
        <source>搜索项目</source>
        <translation>Search projects</translation>
    </message>
    <message>
        <source>新建项目</source>
        <translation>New project</translation>
    </message>
    <message>
        <source>编辑环境</source>
        <translation>Edit environments</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>确定删除此项目吗？</source>
        <translation>Delete this project?</translation>
    </message>
    <message>
        <source>确定删除这 %1 个项目吗？</source>
        <translation>Delete these %1 projects?</translation>
    </message>
    <message>
        <source>没有找到项目</source>
        <translation>No project found</translation>
    </message>
    <message>
        <source>删除失败</source>
        <translation>Not deleted</translation>
    </message>
</context>
<context>
    <name>ProxyFactory</name>
    <message>
        <source>最多转发%1个端口</source>
        <translation>At most %1 ports are forwarded</translation>
    </message>
    <message>
        <source>端口转发失败！请检查系统相关服务是否正常运行。</source>
        <translation>Port forwarding failed! Check that the system&apos;s services for it run.</translation>
    </message>
    <message>
        <source>端口监听失败！%1</source>
        <translation>Listening failed on a port! %1</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>返回</source>
        <translation>Back</translation>
    </message>
    <message>
        <source>不再询问</source>
        <translation>Don&apos;t ask again</translation>
    </message>
</context>
<context>
    <name>RecordModelBase</name>
    <message>
        <source>已勾选</source>
        <translation>Ticked</translation>
    </message>
    <message>
        <source>未勾选</source>
        <translation>Not ticked</translation>
    </message>
    <message>
        <source>全选</source>
        <translation>Tick all</translation>
    </message>
</context>
<context>
    <name>RecordView</name>
    <message>
        <source>排序</source>
        <translation>Sort</translation>
    </message>
    <message>
        <source>%1，升序</source>
        <translation>%1, ascending</translation>
    </message>
    <message>
        <source>%1，降序</source>
        <translation>%1, descending</translation>
    </message>
    <message>
        <source>不排序</source>
        <translation>Don&apos;t sort</translation>
    </message>
</context>
<context>
    <name>Resolve</name>
    <message>
        <source>选中的场景都没有解析成功，请重新解析后再提交</source>
        <translation>None of the chosen scenes was analysed, please analyse them again before submitting</translation>
    </message>
    <message>
        <source>解析提交</source>
        <translation>Submit scenes</translation>
    </message>
    <message>
        <source>提交渲染</source>
        <translation>Submit</translation>
    </message>
    <message>
        <source>重新解析</source>
        <translation>Analyse again</translation>
    </message>
    <message>
        <source>暂停解析</source>
        <translation>Pause analysis</translation>
    </message>
    <message>
        <source>继续解析</source>
        <translation>Resume analysis</translation>
    </message>
    <message>
        <source>暂停上传</source>
        <translation>Pause upload</translation>
    </message>
    <message>
        <source>继续上传</source>
        <translation>Resume upload</translation>
    </message>
    <message>
        <source>删除任务</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>重新提交</source>
        <translation>Submit again</translation>
    </message>
    <message>
        <source>添加场景</source>
        <translation>Add scenes</translation>
    </message>
    <message>
        <source>搜索文件名称</source>
        <translation>Search by file name</translation>
    </message>
    <message>
        <source>解析列表</source>
        <translation>List of scenes</translation>
    </message>
    <message>
        <source>暂时没有解析记录呢</source>
        <translation>No scenes yet</translation>
    </message>
    <message>
        <source>把场景文件拖到这里，或点击“添加场景”</source>
        <translation>Drop scene files here, or click &quot;Add scenes&quot;</translation>
    </message>
    <message>
        <source>场景文件</source>
        <translation>Scene files</translation>
    </message>
    <message>
        <source>您还没有解析文件的权限，请联系您的母账号开通！</source>
        <translation>You have no right to analyse files. Ask your main account for it!</translation>
    </message>
    <message>
        <source>余额不足，请充值</source>
        <translation>The balance is too low, please top up</translation>
    </message>
    <message>
        <source>优先级</source>
        <translation>Priority</translation>
    </message>
    <message>
        <source>批量提交无法修改参数，确定提交吗？</source>
        <translation>Scenes submitted together can&apos;t be changed any more. Submit them?</translation>
    </message>
    <message>
        <source>确定删除“%1”吗？</source>
        <translation>Delete &quot;%1&quot;?</translation>
    </message>
    <message>
        <source>确定删除选中的 %1 个任务吗？</source>
        <translation>Delete the %1 chosen tasks?</translation>
    </message>
    <message>
        <source>您还没有参数设置的权限！</source>
        <translation>You have no right to set parameters!</translation>
    </message>
    <message>
        <source>您没有参数设置的权限！</source>
        <translation>You have no right to set parameters!</translation>
    </message>
    <message>
        <source>订单号</source>
        <translation>Order</translation>
    </message>
    <message>
        <source>文件名称</source>
        <translation>File</translation>
    </message>
    <message>
        <source>所属项目</source>
        <translation>Project</translation>
    </message>
    <message>
        <source>开始解析时间</source>
        <translation>Analysis started</translation>
    </message>
    <message>
        <source>上传进度</source>
        <translation>Upload</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>参数设置</source>
        <translation>Parameters</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>取消任务</source>
        <translation>Cancel the task</translation>
    </message>
    <message>
        <source>确定取消“%1”吗？任务会从列表中删除。</source>
        <translation>Cancel “%1”? The task is removed from the list.</translation>
    </message>
    <message>
        <source>新增 %1 个场景</source>
        <translation>%1 new scenes</translation>
    </message>
    <message>
        <source>查看</source>
        <translation>Show</translation>
    </message>
    <message>
        <source>“%1”解析失败，提交后可能渲染不出结果，费用照常计算。仍要提交吗？</source>
        <translation>The analysis of “%1” failed. It may render nothing and is charged all the same. Submit it anyway?</translation>
    </message>
    <message>
        <source>点击状态查看警告，确认后可以提交渲染</source>
        <translation>Click the state to see the warnings, then submit</translation>
    </message>
    <message>
        <source>点击状态查看原因，修改场景后重新解析</source>
        <translation>Click the state to see why, mend the scene and analyse it again</translation>
    </message>
    <message>
        <source>点击状态查看原因，然后重新提交</source>
        <translation>Click the state to see why, then submit again</translation>
    </message>
    <message>
        <source>服务器没有给出订单号，客户端会自动再次申请</source>
        <translation>The server gave no order number; the client automatically asks again</translation>
    </message>
    <message>
        <source>在传输管理中查看失败的文件，然后继续上传</source>
        <translation>See the files that failed under Transfers, then resume the upload</translation>
    </message>
    <message>
        <source>已删除“%1”</source>
        <translation>“%1” is deleted</translation>
    </message>
    <message>
        <source>已删除 %1 个任务</source>
        <translation>%1 tasks are deleted</translation>
    </message>
    <message>
        <source>%1 个场景</source>
        <translation>%1 scenes</translation>
    </message>
</context>
<context>
    <name>ResolvePri</name>
    <message>
        <source>优先级调度</source>
        <translation>Priorities</translation>
    </message>
    <message>
        <source>订单号</source>
        <translation>Order</translation>
    </message>
    <message>
        <source>任务名</source>
        <translation>Task</translation>
    </message>
    <message>
        <source>所属项目</source>
        <translation>Project</translation>
    </message>
    <message>
        <source>任务状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>没有等待的任务</source>
        <translation>Nothing is waiting</translation>
    </message>
    <message>
        <source>置顶</source>
        <translation>To the top</translation>
    </message>
    <message>
        <source>上移</source>
        <translation>Up</translation>
    </message>
    <message>
        <source>下移</source>
        <translation>Down</translation>
    </message>
    <message>
        <source>保存</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
</context>
<context>
    <name>ResolveWarn</name>
    <message>
        <source>解析警告</source>
        <translation>Analysed with warnings</translation>
    </message>
    <message>
        <source>警告内容</source>
        <translation>Warnings</translation>
    </message>
    <message>
        <source>重新解析</source>
        <translation>Analyse again</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>忽略警告继续提交</source>
        <translation>Submit all the same</translation>
    </message>
    <message>
        <source>本批次文件都忽略警告继续提交</source>
        <translation>Submit the whole batch</translation>
    </message>
    <message>
        <source>参数设置</source>
        <translation>Parameters</translation>
    </message>
</context>
<context>
    <name>SceneInfo</name>
    <message>
        <source>相机</source>
        <translation>Cameras</translation>
    </message>
    <message>
        <source>帧</source>
        <translation>Frames</translation>
    </message>
    <message>
        <source>宽度</source>
        <translation>Width</translation>
    </message>
    <message>
        <source>高度</source>
        <translation>Height</translation>
    </message>
    <message>
        <source>渲染器</source>
        <translation>Renderer</translation>
    </message>
    <message>
        <source>输出文件</source>
        <translation>Output file</translation>
    </message>
    <message>
        <source>输出路径</source>
        <translation>Output path</translation>
    </message>
    <message>
        <source>输出格式</source>
        <translation>Output format</translation>
    </message>
    <message>
        <source>光子方式</source>
        <translation>GI mode</translation>
    </message>
    <message>
        <source>光子节点</source>
        <translation>GI node</translation>
    </message>
    <message>
        <source>光子文件</source>
        <translation>GI file</translation>
    </message>
    <message>
        <source>光子宽度</source>
        <translation>GI width</translation>
    </message>
    <message>
        <source>光子高度</source>
        <translation>GI height</translation>
    </message>
    <message>
        <source>光子隔帧</source>
        <translation>GI frame step</translation>
    </message>
    <message>
        <source>不使用光子</source>
        <translation>No GI cache</translation>
    </message>
    <message>
        <source>本地光子</source>
        <translation>Local GI cache</translation>
    </message>
    <message>
        <source>先渲光子再渲图</source>
        <translation>Render the GI cache first, then the images</translation>
    </message>
    <message>
        <source>参数</source>
        <translation>Parameter</translation>
    </message>
    <message>
        <source>场景参数</source>
        <translation>Scene parameters</translation>
    </message>
    <message>
        <source>值</source>
        <translation>Value</translation>
    </message>
    <message>
        <source>提交渲染</source>
        <translation>Submit</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
</context>
<context>
    <name>SceneState</name>
    <message>
        <source>待解析</source>
        <translation>Waiting for analysis</translation>
    </message>
    <message>
        <source>解析中</source>
        <translation>Analysing</translation>
    </message>
    <message>
        <source>解析暂停</source>
        <translation>Analysis paused</translation>
    </message>
    <message>
        <source>解析警告</source>
        <translation>Analysed with warnings</translation>
    </message>
    <message>
        <source>解析错误</source>
        <translation>Analysis failed</translation>
    </message>
    <message>
        <source>参数缺失</source>
        <translation>Parameters missing</translation>
    </message>
    <message>
        <source>解析完成，请提交渲染</source>
        <translation>Analysed, please submit</translation>
    </message>
    <message>
        <source>待提交</source>
        <translation>Waiting to submit</translation>
    </message>
    <message>
        <source>提交中</source>
        <translation>Submitting</translation>
    </message>
    <message>
        <source>提交错误</source>
        <translation>Submit failed</translation>
    </message>
    <message>
        <source>待上传</source>
        <translation>Waiting for upload</translation>
    </message>
    <message>
        <source>上传中</source>
        <translation>Uploading</translation>
    </message>
    <message>
        <source>上传暂停</source>
        <translation>Upload paused</translation>
    </message>
    <message>
        <source>上传异常</source>
        <translation>Upload failed</translation>
    </message>
    <message>
        <source>申请失败</source>
        <translation>No order number</translation>
    </message>
    <message>
        <source>等待审核</source>
        <translation>Waiting for approval</translation>
    </message>
    <message>
        <source>申请通过</source>
        <translation>Approved</translation>
    </message>
    <message>
        <source>申请驳回</source>
        <translation>Refused</translation>
    </message>
    <message>
        <source>提交成功</source>
        <translation>Submitted</translation>
    </message>
    <message>
        <source>继续</source>
        <translation>Resume</translation>
    </message>
    <message>
        <source>暂停</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>优先级</source>
        <translation>Priority</translation>
    </message>
</context>
<context>
    <name>ServerCall</name>
    <message>
        <source>服务器拒绝了请求</source>
        <translation>The server refused the request</translation>
    </message>
    <message>
        <source>服务器没有响应，请检查网络后重试</source>
        <translation>The server doesn&apos;t answer. Check the network and try again</translation>
    </message>
</context>
<context>
    <name>Session</name>
    <message>
        <source>心跳</source>
        <translation>heart beat</translation>
    </message>
    <message>
        <source>登录</source>
        <translation>Log in</translation>
    </message>
    <message>
        <source>余额查询</source>
        <translation>balance</translation>
    </message>
    <message>
        <source>保存设置信息</source>
        <translation>save settings</translation>
    </message>
    <message>
        <source>允许推送</source>
        <translation>allow pushes</translation>
    </message>
    <message>
        <source>任务交接</source>
        <translation>hand over task</translation>
    </message>
    <message>
        <source>登录信息</source>
        <translation>login data</translation>
    </message>
    <message>
        <source>机器信息</source>
        <translation>machine data</translation>
    </message>
    <message>
        <source>获取权限</source>
        <translation>rights</translation>
    </message>
    <message>
        <source>生成订单</source>
        <translation>make order</translation>
    </message>
    <message>
        <source>取消订单</source>
        <translation>cancel order</translation>
    </message>
    <message>
        <source>子任务列表</source>
        <translation>sub-tasks</translation>
    </message>
    <message>
        <source>取消子任务</source>
        <translation>Cancel sub-task</translation>
    </message>
    <message>
        <source>重渲订单</source>
        <translation>render order again</translation>
    </message>
    <message>
        <source>实时预览</source>
        <translation>live preview</translation>
    </message>
    <message>
        <source>补帧或修改环境或详情</source>
        <translation>fill frames, change environment or details</translation>
    </message>
    <message>
        <source>优先帧完成</source>
        <translation>Priority frames are done</translation>
    </message>
    <message>
        <source>结果推送</source>
        <translation>results</translation>
    </message>
    <message>
        <source>上传暂停</source>
        <translation>Upload paused</translation>
    </message>
    <message>
        <source>删除解析订单</source>
        <translation>delete analysed order</translation>
    </message>
    <message>
        <source>优先级调度请求</source>
        <translation>change priorities</translation>
    </message>
    <message>
        <source>优先级调度列表</source>
        <translation>list of priorities</translation>
    </message>
    <message>
        <source>订单预申请</source>
        <translation>apply for order</translation>
    </message>
    <message>
        <source>解析状态</source>
        <translation>analysis state</translation>
    </message>
    <message>
        <source>设置节点数</source>
        <translation>set node count</translation>
    </message>
    <message>
        <source>重渲子任务</source>
        <translation>Render sub-task again</translation>
    </message>
    <message>
        <source>获取订单列表</source>
        <translation>list of orders</translation>
    </message>
    <message>
        <source>操作记录</source>
        <translation>operation record</translation>
    </message>
    <message>
        <source>继续渲染</source>
        <translation>Resume rendering</translation>
    </message>
    <message>
        <source>暂停渲染</source>
        <translation>Pause rendering</translation>
    </message>
    <message>
        <source>大任务完结</source>
        <translation>task ended</translation>
    </message>
    <message>
        <source>删除任务</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>创建项目</source>
        <translation>create project</translation>
    </message>
    <message>
        <source>删除项目</source>
        <translation>delete project</translation>
    </message>
    <message>
        <source>查询项目</source>
        <translation>list projects</translation>
    </message>
    <message>
        <source>创建环境</source>
        <translation>create environment</translation>
    </message>
    <message>
        <source>删除环境</source>
        <translation>delete environment</translation>
    </message>
    <message>
        <source>查询环境</source>
        <translation>list environments</translation>
    </message>
    <message>
        <source>修改环境</source>
        <translation>change environment</translation>
    </message>
    <message>
        <source>软件列表</source>
        <translation>list of software</translation>
    </message>
    <message>
        <source>插件列表</source>
        <translation>list of plug-ins</translation>
    </message>
    <message>
        <source>请求下载信息</source>
        <translation>download data</translation>
    </message>
    <message>
        <source>缩略图</source>
        <translation>thumbnail</translation>
    </message>
    <message>
        <source>下载结束通知bs</source>
        <translation>download ended</translation>
    </message>
    <message>
        <source>下载日志</source>
        <translation>download log</translation>
    </message>
    <message>
        <source>下载结果文件</source>
        <translation>result files</translation>
    </message>
    <message>
        <source>下载子任务结果文件</source>
        <translation>result files of sub-task</translation>
    </message>
    <message>
        <source>农场信息</source>
        <translation>farm data</translation>
    </message>
    <message>
        <source>农场机型</source>
        <translation>machines of farm</translation>
    </message>
    <message>
        <source>网盘入口</source>
        <translation>network drive</translation>
    </message>
    <message>
        <source>手动重登</source>
        <translation>logged out by hand</translation>
    </message>
    <message>
        <source>个人中心修改密码后重登</source>
        <translation>the password was changed, log in again</translation>
    </message>
    <message>
        <source>服务器断开</source>
        <translation>the server has gone</translation>
    </message>
    <message>
        <source>非法请求</source>
        <translation>Illegal request</translation>
    </message>
    <message>
        <source>账号已异地登录</source>
        <translation>The account has logged in elsewhere</translation>
    </message>
    <message>
        <source>账号信息有变动，请检查或重新登录</source>
        <translation>The account&apos;s data has changed. Check it or log in again</translation>
    </message>
    <message>
        <source>余额不足</source>
        <translation>The balance is too low</translation>
    </message>
    <message>
        <source>参数异常</source>
        <translation>Bad parameters</translation>
    </message>
    <message>
        <source>农场不可用</source>
        <translation>The farm isn&apos;t available</translation>
    </message>
    <message>
        <source>本次提交不支持只上传主文件</source>
        <translation>Uploading the main file alone isn&apos;t possible this time</translation>
    </message>
    <message>
        <source>账户信息获取失败</source>
        <translation>The account&apos;s data could not be read</translation>
    </message>
    <message>
        <source>当前渲染额度不足，请联系母账号分配!</source>
        <translation>The rendering quota is used up. Ask your main account for more!</translation>
    </message>
    <message>
        <source>未知异常</source>
        <translation>Unknown error</translation>
    </message>
    <message>
        <source>集群失败</source>
        <translation>The cluster failed</translation>
    </message>
    <message>
        <source>农场异常</source>
        <translation>The farm has a fault</translation>
    </message>
    <message>
        <source>内部错误</source>
        <translation>Internal error</translation>
    </message>
    <message>
        <source>已过补帧期限</source>
        <translation>The time for filling frames is over</translation>
    </message>
    <message>
        <source>重渲成功</source>
        <translation>Rendering again</translation>
    </message>
    <message>
        <source>暂停失败</source>
        <translation>Pausing failed</translation>
    </message>
    <message>
        <source>集群异常</source>
        <translation>cluster fault</translation>
    </message>
    <message>
        <source>账户余额不足</source>
        <translation>the balance is too low</translation>
    </message>
    <message>
        <source>机型格式有误</source>
        <translation>the machine&apos;s format is wrong</translation>
    </message>
    <message>
        <source>任务已过期</source>
        <translation>the task has expired</translation>
    </message>
    <message>
        <source>操作记录失败</source>
        <translation>The operation record failed</translation>
    </message>
    <message>
        <source>任务提交失败</source>
        <translation>The task could not be submitted</translation>
    </message>
    <message>
        <source>项目已存在</source>
        <translation>The project exists already</translation>
    </message>
    <message>
        <source>有订单未完成</source>
        <translation>Some orders aren&apos;t done yet</translation>
    </message>
    <message>
        <source>无权限删除</source>
        <translation>You have no right to delete this</translation>
    </message>
    <message>
        <source>记录不存在</source>
        <translation>No such record</translation>
    </message>
    <message>
        <source>不可以下载</source>
        <translation>It can&apos;t be downloaded</translation>
    </message>
    <message>
        <source>失败，未知异常</source>
        <translation>Failed, unknown error</translation>
    </message>
    <message>
        <source>取消任务</source>
        <translation>Cancel task</translation>
    </message>
    <message>
        <source>任务不可以取消</source>
        <translation>the task can&apos;t be cancelled</translation>
    </message>
    <message>
        <source>重渲失败帧</source>
        <translation>Render failed frames again</translation>
    </message>
    <message>
        <source>任务未完成</source>
        <translation>the task isn&apos;t done</translation>
    </message>
    <message>
        <source>任务没有渲染失败帧序列</source>
        <translation>the task has no failed frames</translation>
    </message>
    <message>
        <source>重置最大节点数</source>
        <translation>Set the most nodes</translation>
    </message>
    <message>
        <source>超出服务器最大节点数</source>
        <translation>more than the server&apos;s nodes</translation>
    </message>
    <message>
        <source>机型修改</source>
        <translation>Change machine</translation>
    </message>
    <message>
        <source>渲染软件插件修改</source>
        <translation>Change software and plug-ins</translation>
    </message>
    <message>
        <source>补帧成功</source>
        <translation>Frames filled</translation>
    </message>
    <message>
        <source>补帧失败，未知异常</source>
        <translation>Filling frames failed: unknown error</translation>
    </message>
    <message>
        <source>任务克隆出错</source>
        <translation>The task could not be cloned</translation>
    </message>
    <message>
        <source>生成单号</source>
        <translation>Making the order number</translation>
    </message>
    <message>
        <source>打开数据库连接出错</source>
        <translation>The database could not be opened</translation>
    </message>
    <message>
        <source>根据客户单任务标示获取任务出错</source>
        <translation>The task could not be found by the client&apos;s mark</translation>
    </message>
    <message>
        <source>写入任务信息失败</source>
        <translation>The task could not be written</translation>
    </message>
    <message>
        <source>任务提交集群失败</source>
        <translation>The task could not be handed to the cluster</translation>
    </message>
    <message>
        <source>用户无可用队列</source>
        <translation>The user has no queue</translation>
    </message>
    <message>
        <source>copy mklink文件失败</source>
        <translation>Copying the mklink file failed</translation>
    </message>
    <message>
        <source>获取数据库当前时间</source>
        <translation>Reading the database&apos;s time</translation>
    </message>
    <message>
        <source>项目异常</source>
        <translation>The project has a fault</translation>
    </message>
    <message>
        <source>补帧失败，账户余额不足</source>
        <translation>Filling frames failed: the balance is too low</translation>
    </message>
    <message>
        <source>补帧失败，任务已过补帧期限</source>
        <translation>Filling frames failed: the time for it is over</translation>
    </message>
    <message>
        <source>用户自定义参数配置异常</source>
        <translation>The user&apos;s parameters have a fault</translation>
    </message>
    <message>
        <source>系统参数配置异常</source>
        <translation>The system&apos;s parameters have a fault</translation>
    </message>
    <message>
        <source>补帧任务申请成功,等待上传新文件</source>
        <translation>Filling frames is accepted, waiting for new files</translation>
    </message>
    <message>
        <source>当前任务不可以补插件or文件</source>
        <translation>This task takes no further plug-ins or files</translation>
    </message>
    <message>
        <source>补帧类型有误</source>
        <translation>The kind of filling is wrong</translation>
    </message>
    <message>
        <source>补帧任务预处理成功</source>
        <translation>Filling frames is prepared</translation>
    </message>
    <message>
        <source>补帧失败，上传列表生成失败</source>
        <translation>Filling frames failed: no upload list</translation>
    </message>
    <message>
        <source>补帧失败，账户信息获取失败</source>
        <translation>Filling frames failed: the account&apos;s data could not be read</translation>
    </message>
    <message>
        <source>批量结果返回</source>
        <translation>Results of the batch</translation>
    </message>
    <message>
        <source>暂停上传成功</source>
        <translation>Upload paused</translation>
    </message>
    <message>
        <source>任务交接成功</source>
        <translation>Task handed over</translation>
    </message>
    <message>
        <source>机型修改，未修改任何参数</source>
        <translation>Change machine: nothing was changed</translation>
    </message>
    <message>
        <source>暂停解析</source>
        <translation>Pause analysis</translation>
    </message>
    <message>
        <source>成功</source>
        <translation> succeeded</translation>
    </message>
    <message>
        <source>失败，</source>
        <translation> failed: </translation>
    </message>
</context>
<context>
    <name>Set</name>
    <message>
        <source>设置</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>通用设置</source>
        <translation>Common</translation>
    </message>
    <message>
        <source>高级设置</source>
        <translation>Advanced</translation>
    </message>
    <message>
        <source>项目管理</source>
        <translation>Projects</translation>
    </message>
    <message>
        <source>保存</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>文件夹不存在</source>
        <translation>The folder doesn&apos;t exist</translation>
    </message>
    <message>
        <source>开机自启动设置失败</source>
        <translation>Starting with the system couldn&apos;t be set</translation>
    </message>
    <message>
        <source>保存失败</source>
        <translation>Not saved</translation>
    </message>
    <message>
        <source>保存成功</source>
        <translation>Saved</translation>
    </message>
</context>
<context>
    <name>Startup</name>
    <message>
        <source>无法连接远程主机！</source>
        <translation>The remote host can&apos;t be reached!</translation>
    </message>
    <message>
        <source>新版本没有安装：%1</source>
        <translation>The new version was not installed: %1</translation>
    </message>
</context>
<context>
    <name>TablePage</name>
    <message>
        <source>重试</source>
        <translation>Try again</translation>
    </message>
    <message>
        <source>更多</source>
        <translation>More</translation>
    </message>
    <message>
        <source>刷新</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>显示的列</source>
        <translation>Columns shown</translation>
    </message>
    <message>
        <source>清除搜索</source>
        <translation>Clear the search</translation>
    </message>
    <message>
        <source>正在读取…</source>
        <translation>Reading…</translation>
    </message>
</context>
<context>
    <name>TaskState</name>
    <message>
        <source>等待确认</source>
        <translation>Waits for confirmation</translation>
    </message>
    <message>
        <source>渲染暂停</source>
        <translation>Paused</translation>
    </message>
    <message>
        <source>即将暂停</source>
        <translation>About to pause</translation>
    </message>
    <message>
        <source>排队中</source>
        <translation>Queued</translation>
    </message>
    <message>
        <source>渲染中</source>
        <translation>Rendering</translation>
    </message>
    <message>
        <source>渲染结束</source>
        <translation>Rendered</translation>
    </message>
    <message>
        <source>解析取消</source>
        <translation>Analysis cancelled</translation>
    </message>
    <message>
        <source>解析失败</source>
        <translation>Analysis failed</translation>
    </message>
    <message>
        <source>上传取消</source>
        <translation>Upload cancelled</translation>
    </message>
    <message>
        <source>上传失败</source>
        <translation>Upload failed</translation>
    </message>
    <message>
        <source>下载结束</source>
        <translation>Downloaded</translation>
    </message>
    <message>
        <source>准备失败</source>
        <translation>Preparation failed</translation>
    </message>
</context>
<context>
    <name>TerragenGi</name>
    <message>
        <source>场景文件无法打开：%1</source>
        <translation>The scene file can&apos;t be opened: %1</translation>
    </message>
    <message>
        <source>场景文件格式错误：%1</source>
        <translation>The scene file isn&apos;t valid: %1</translation>
    </message>
    <message>
        <source>场景文件无法写入：%1</source>
        <translation>The scene file can&apos;t be written: %1</translation>
    </message>
    <message>
        <source>场景文件中没有：%1</source>
        <translation>The scene file doesn&apos;t have: %1</translation>
    </message>
</context>
<context>
    <name>TerragenScene</name>
    <message>
        <source>没有光子文件
</source>
        <translation>There is no GI cache file
</translation>
    </message>
    <message>
        <source>丢失文件：<byte value="xd"/>
%1</source>
        <translation>Missing files:<byte value="xd"/>
%1</translation>
    </message>
    <message>
        <source>光子文件%1只包含第%2到%3帧，渲染帧为%4
</source>
        <translation>The GI cache files %1 hold frames %2 to %3 only, rendered are %4
</translation>
    </message>
    <message>
        <source>错误：没有可用的渲染节点。<byte value="xd"/>
</source>
        <translation>Error: there is no render node.<byte value="xd"/>
</translation>
    </message>
</context>
<context>
    <name>TransSet</name>
    <message>
        <source>测试码</source>
        <translation>test code</translation>
    </message>
    <message>
        <source>文件不存在</source>
        <translation>the file doesn&apos;t exist</translation>
    </message>
    <message>
        <source>文件打开失败</source>
        <translation>the file can&apos;t be opened</translation>
    </message>
    <message>
        <source>连接超时</source>
        <translation>the connection timed out</translation>
    </message>
    <message>
        <source>协议头长度错误</source>
        <translation>the protocol head is too short</translation>
    </message>
    <message>
        <source>socket写入失败</source>
        <translation>writing to the socket failed</translation>
    </message>
    <message>
        <source>startPos错误</source>
        <translation>the start position is wrong</translation>
    </message>
    <message>
        <source>文件无法写入，请更换盘符</source>
        <translation>the file can&apos;t be written, use another drive</translation>
    </message>
    <message>
        <source>文件访问失败</source>
        <translation>the file can&apos;t be accessed</translation>
    </message>
    <message>
        <source>获取文件hash失败</source>
        <translation>the file&apos;s hash failed</translation>
    </message>
    <message>
        <source>压缩失败</source>
        <translation>compressing failed</translation>
    </message>
    <message>
        <source>hash校验错误</source>
        <translation>the hash doesn&apos;t match</translation>
    </message>
    <message>
        <source>文件被修改，重新上传</source>
        <translation>the file was changed, uploading again</translation>
    </message>
    <message>
        <source>磁盘空间不足，请更换盘符</source>
        <translation>the disk is full, use another drive</translation>
    </message>
    <message>
        <source>文件路径过长</source>
        <translation>the path is too long</translation>
    </message>
    <message>
        <source>下载结束后失败</source>
        <translation>the downloaded file could not be put in place</translation>
    </message>
    <message>
        <source>下载路径不存在</source>
        <translation>the download folder doesn&apos;t exist</translation>
    </message>
    <message>
        <source>skydrive异常</source>
        <translation>the storage service has a fault</translation>
    </message>
    <message>
        <source>未知上传协议</source>
        <translation>unknown upload protocol</translation>
    </message>
    <message>
        <source>对象存储的上传请求有误</source>
        <translation>the request to the object store was wrong</translation>
    </message>
    <message>
        <source>不支持的对象存储</source>
        <translation>unknown kind of object store</translation>
    </message>
    <message>
        <source>对象存储拒绝访问</source>
        <translation>the object store refused access</translation>
    </message>
    <message>
        <source>对象存储的存储桶不存在</source>
        <translation>the bucket of the object store doesn&apos;t exist</translation>
    </message>
    <message>
        <source>本机时间与对象存储相差过大，请校准系统时间</source>
        <translation>this machine&apos;s clock differs too much from the object store&apos;s, please set it right</translation>
    </message>
    <message>
        <source>对象存储的密钥已过期</source>
        <translation>the keys of the object store have expired</translation>
    </message>
    <message>
        <source>对象存储繁忙</source>
        <translation>the object store is busy</translation>
    </message>
    <message>
        <source>对象存储已丢弃未完成的上传</source>
        <translation>the object store has dropped the unfinished upload</translation>
    </message>
    <message>
        <source>对象存储的应答异常</source>
        <translation>unexpected answer of the object store</translation>
    </message>
    <message>
        <source>上传进度无法保存</source>
        <translation>the upload&apos;s progress can&apos;t be saved</translation>
    </message>
    <message>
        <source>对象存储中的文件大小不符</source>
        <translation>the file in the object store has another size</translation>
    </message>
    <message>
        <source>源文件所在的位置没有响应</source>
        <translation>the folder of the source file does not answer</translation>
    </message>
    <message>
        <source>UnknownSocketError</source>
        <translation>UnknownSocketError</translation>
    </message>
    <message>
        <source>连接服务器拒绝</source>
        <translation>the server refused the connection</translation>
    </message>
    <message>
        <source>服务器关闭</source>
        <translation>the server closed the connection</translation>
    </message>
    <message>
        <source>未找到服务器</source>
        <translation>the server was not found</translation>
    </message>
    <message>
        <source>SocketAccessError</source>
        <translation>SocketAccessError</translation>
    </message>
    <message>
        <source>SocketResourceError</source>
        <translation>SocketResourceError</translation>
    </message>
    <message>
        <source>socket超时</source>
        <translation>the socket timed out</translation>
    </message>
    <message>
        <source>DatagramTooLargeError</source>
        <translation>DatagramTooLargeError</translation>
    </message>
    <message>
        <source>NetworkError</source>
        <translation>NetworkError</translation>
    </message>
    <message>
        <source>AddressInUseError</source>
        <translation>AddressInUseError</translation>
    </message>
    <message>
        <source>SocketAddressNotAvailableError</source>
        <translation>SocketAddressNotAvailableError</translation>
    </message>
    <message>
        <source>UnsupportedSocketOperationError</source>
        <translation>UnsupportedSocketOperationError</translation>
    </message>
    <message>
        <source>UnfinishedSocketOperationError</source>
        <translation>UnfinishedSocketOperationError</translation>
    </message>
    <message>
        <source>ProxyAuthenticationRequiredError</source>
        <translation>ProxyAuthenticationRequiredError</translation>
    </message>
    <message>
        <source>SslHandshakeFailedError</source>
        <translation>SslHandshakeFailedError</translation>
    </message>
    <message>
        <source>ProxyConnectionRefusedError</source>
        <translation>ProxyConnectionRefusedError</translation>
    </message>
    <message>
        <source>ProxyConnectionClosedError</source>
        <translation>ProxyConnectionClosedError</translation>
    </message>
    <message>
        <source>ProxyConnectionTimeoutError</source>
        <translation>ProxyConnectionTimeoutError</translation>
    </message>
    <message>
        <source>ProxyNotFoundError</source>
        <translation>ProxyNotFoundError</translation>
    </message>
    <message>
        <source>ProxyProtocolError</source>
        <translation>ProxyProtocolError</translation>
    </message>
    <message>
        <source>OperationError</source>
        <translation>OperationError</translation>
    </message>
    <message>
        <source>SslInternalError</source>
        <translation>SslInternalError</translation>
    </message>
    <message>
        <source>SslInvalidUserDataError</source>
        <translation>SslInvalidUserDataError</translation>
    </message>
    <message>
        <source>TemporaryError</source>
        <translation>TemporaryError</translation>
    </message>
    <message>
        <source>FailedToStart</source>
        <translation>Failed to start</translation>
    </message>
    <message>
        <source>Crashed</source>
        <translation>Crashed</translation>
    </message>
    <message>
        <source>Timedout</source>
        <translation>Timed out</translation>
    </message>
    <message>
        <source>ReadError</source>
        <translation>Read error</translation>
    </message>
    <message>
        <source>WriteError</source>
        <translation>Write error</translation>
    </message>
    <message>
        <source>秒传询问未知异常</source>
        <translation>unknown error when asking for the file</translation>
    </message>
    <message>
        <source>继续上传</source>
        <translation>upload goes on</translation>
    </message>
    <message>
        <source>开始上传</source>
        <translation>upload starts</translation>
    </message>
    <message>
        <source>记录不存在</source>
        <translation>No such record</translation>
    </message>
    <message>
        <source>不可以上传</source>
        <translation>it can&apos;t be uploaded</translation>
    </message>
    <message>
        <source>农场不可用</source>
        <translation>The farm isn&apos;t available</translation>
    </message>
    <message>
        <source>fs不可用</source>
        <translation>the file server isn&apos;t available</translation>
    </message>
    <message>
        <source>hash值有误</source>
        <translation>the hash is wrong</translation>
    </message>
    <message>
        <source>不可以下载</source>
        <translation>It can&apos;t be downloaded</translation>
    </message>
    <message>
        <source>余额不足</source>
        <translation>The balance is too low</translation>
    </message>
    <message>
        <source>扣费失败</source>
        <translation>charging failed</translation>
    </message>
    <message>
        <source>等待扣费</source>
        <translation>waiting to be charged</translation>
    </message>
    <message>
        <source>未知异常</source>
        <translation>Unknown error</translation>
    </message>
    <message>
        <source>农场未知异常</source>
        <translation>unknown error of the farm</translation>
    </message>
    <message>
        <source>农场不存在</source>
        <translation>there is no such farm</translation>
    </message>
    <message>
        <source>订单已取消</source>
        <translation>the order is cancelled</translation>
    </message>
    <message>
        <source>请求上传未知异常</source>
        <translation>unknown error when asking to upload</translation>
    </message>
    <message>
        <source>请求上传记录不存在</source>
        <translation>no record for this upload</translation>
    </message>
    <message>
        <source>上传成功</source>
        <translation>uploaded</translation>
    </message>
    <message>
        <source>后台处理中</source>
        <translation>the server is working on it</translation>
    </message>
    <message>
        <source>上传失败未知异常</source>
        <translation>upload failed, unknown error</translation>
    </message>
    <message>
        <source>上传数据大于文件总大小</source>
        <translation>more data than the file&apos;s size</translation>
    </message>
    <message>
        <source>hash校验失败</source>
        <translation>the hash doesn&apos;t match</translation>
    </message>
    <message>
        <source>文件解压失败</source>
        <translation>the file could not be unpacked</translation>
    </message>
    <message>
        <source>文件移动至hash库失败</source>
        <translation>the file could not be stored</translation>
    </message>
    <message>
        <source>续传位置过大</source>
        <translation>the resume position is past the end</translation>
    </message>
    <message>
        <source>等待下载</source>
        <translation>Waiting</translation>
    </message>
    <message>
        <source>下载中</source>
        <translation>Downloading</translation>
    </message>
    <message>
        <source>下载暂停</source>
        <translation>Paused</translation>
    </message>
    <message>
        <source>下载异常</source>
        <translation>Download failed</translation>
    </message>
    <message>
        <source>等待上传</source>
        <translation>Waiting</translation>
    </message>
    <message>
        <source>上传中</source>
        <translation>Uploading</translation>
    </message>
    <message>
        <source>上传暂停</source>
        <translation>Upload paused</translation>
    </message>
    <message>
        <source>上传异常</source>
        <translation>Upload failed</translation>
    </message>
    <message>
        <source>服务处理中</source>
        <translation>Server at work</translation>
    </message>
    <message>
        <source>上传完成</source>
        <translation>Uploaded</translation>
    </message>
    <message>
        <source>上传取消</source>
        <translation>Cancelled</translation>
    </message>
    <message>
        <source>下载完成</source>
        <translation>Downloaded</translation>
    </message>
    <message>
        <source>下载取消</source>
        <translation>Cancelled</translation>
    </message>
    <message>
        <source>已存在，已跳过</source>
        <translation>Already here, skipped</translation>
    </message>
</context>
<context>
    <name>Transfer</name>
    <message>
        <source>传输管理</source>
        <translation>Transfers</translation>
    </message>
    <message>
        <source>上传列表</source>
        <translation>List of uploads</translation>
    </message>
    <message>
        <source>下载列表</source>
        <translation>List of downloads</translation>
    </message>
    <message>
        <source>暂时没有传输记录呢</source>
        <translation>No transfers yet</translation>
    </message>
    <message>
        <source>提交渲染后，场景和素材会在这里上传</source>
        <translation>Scenes and their files upload here once they are submitted</translation>
    </message>
    <message>
        <source>渲染结果会自动下载到结果目录</source>
        <translation>Rendered results are downloaded to the result folder automatically</translation>
    </message>
    <message>
        <source>上传</source>
        <translation>Uploads</translation>
    </message>
    <message>
        <source>下载</source>
        <translation>Downloads</translation>
    </message>
    <message>
        <source>账户余额不足无法下载，请充值！</source>
        <translation>The balance is too low to download, please top up!</translation>
    </message>
    <message>
        <source>去充值</source>
        <translation>Top up</translation>
    </message>
    <message>
        <source>文件夹 %1 所在的磁盘空间不足，请清理磁盘！<byte value="xd"/>
您也可以更换路径，但只对新任务起作用</source>
        <translation>The disk of folder %1 is nearly full, please free some space!<byte value="xd"/>
You can also change the folder, but only for new tasks</translation>
    </message>
    <message>
        <source>%1盘空间不足，请清理磁盘！<byte value="xd"/>
您也可以更换路径，但只对新任务起作用</source>
        <translation>Disk %1 is nearly full, please free some space!<byte value="xd"/>
You can also change the folder, but only for new tasks</translation>
    </message>
    <message>
        <source>文件名称</source>
        <translation>File</translation>
    </message>
    <message>
        <source>文件大小</source>
        <translation>Size</translation>
    </message>
    <message>
        <source>传输进度</source>
        <translation>Progress</translation>
    </message>
    <message>
        <source>传输速度</source>
        <translation>Speed</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>继续</source>
        <translation>Resume</translation>
    </message>
    <message>
        <source>暂停</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>删除任务</source>
        <translation>Delete the task</translation>
    </message>
    <message>
        <source>删除“%1”会取消该订单，确定删除吗？</source>
        <translation>Deleting “%1” cancels its order. Delete it?</translation>
    </message>
    <message>
        <source>删除选中的 %1 个上传任务会取消它们的订单，确定删除吗？</source>
        <translation>Deleting the %1 selected uploads cancels their orders. Delete them?</translation>
    </message>
    <message>
        <source>确定删除下载任务“%1”吗？已下载的文件会保留。</source>
        <translation>Delete the download “%1”? Files that are on disk stay.</translation>
    </message>
    <message>
        <source>确定删除选中的 %1 个下载任务吗？已下载的文件会保留。</source>
        <translation>Delete the %1 selected downloads? Files that are on disk stay.</translation>
    </message>
    <message>
        <source>目录</source>
        <translation>Folder</translation>
    </message>
    <message>
        <source>优先</source>
        <translation>First</translation>
    </message>
    <message>
        <source>有文件上传失败：展开查看原因，处理后点击“继续”</source>
        <translation>Some files failed: open the row to see why, then press “Resume”</translation>
    </message>
    <message>
        <source>已完成</source>
        <translation>Finished</translation>
    </message>
    <message>
        <source>已删除“%1”</source>
        <translation>“%1” is deleted</translation>
    </message>
    <message>
        <source>已删除 %1 个任务</source>
        <translation>%1 tasks are deleted</translation>
    </message>
    <message>
        <source>云盘</source>
        <translation>Drive</translation>
    </message>
</context>
<context>
    <name>TransferHand</name>
    <message>
        <source>文件夹打不开：%1</source>
        <translation>The folder can&apos;t be opened: %1</translation>
    </message>
</context>
<context>
    <name>TrayIcon</name>
    <message>
        <source>显示主窗口</source>
        <translation>Show the main window</translation>
    </message>
    <message>
        <source>切换账号</source>
        <translation>Switch account</translation>
    </message>
    <message>
        <source>退出</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>显示登录窗口</source>
        <translation>Show the login window</translation>
    </message>
    <message>
        <source>%1 已登录</source>
        <translation>%1 is logged in</translation>
    </message>
    <message>
        <source>未登录</source>
        <translation>Not logged in</translation>
    </message>
    <message>
        <source>提示</source>
        <translation>Note</translation>
    </message>
</context>
<context>
    <name>VFunc</name>
    <message>
        <source>项目管理</source>
        <translation>Projects</translation>
    </message>
    <message>
        <source>通用设置</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>输出路径不存在，请至 %1 配置。<byte value="xd"/>
</source>
        <translation>The output folder doesn&apos;t exist, set it in %1.<byte value="xd"/>
</translation>
    </message>
</context>
<context>
    <name>WebView</name>
    <message>
        <source>网页</source>
        <translation>Web page</translation>
    </message>
</context>
<context>
    <name>CVersionManager</name>
    <message>
        <source>软件更新</source>
        <translation>Software updates</translation>
    </message>
    <message>
        <source>显示测试版</source>
        <translation>Show beta versions</translation>
    </message>
    <message>
        <source>以后再说</source>
        <translation>Later</translation>
    </message>
    <message>
        <source>更新版本</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>有必须安装的更新，已经推迟了一天，请现在更新。</source>
        <translation>A required update has been put off for a day, please install it now.</translation>
    </message>
</context>
<context>
    <name>SoftWareDetail</name>
    <message>
        <source>未安装</source>
        <translation>Not installed</translation>
    </message>
    <message>
        <source>当前版本 %1</source>
        <translation>Installed: %1</translation>
    </message>
</context>
<context>
    <name>SoftwareProgressBar</name>
    <message>
        <source>软件更新</source>
        <translation>Software updates</translation>
    </message>
    <message>
        <source>正在更新</source>
        <translation>Updating</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Try again</translation>
    </message>
    <message>
        <source>重启客户端</source>
        <translation>Restart the client</translation>
    </message>
    <message>
        <source>完成</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>正在获取 %1</source>
        <translation>Fetching %1</translation>
    </message>
    <message>
        <source>更新程序没有回答</source>
        <translation>The update program gave no answer</translation>
    </message>
    <message>
        <source>正在安装 %1</source>
        <translation>Installing %1</translation>
    </message>
    <message>
        <source>更新完成,重启客户端</source>
        <translation>Updated, the client is to restart</translation>
    </message>
    <message>
        <source>更新完成</source>
        <translation>Updated</translation>
    </message>
    <message>
        <source>%1 没有安装：%2</source>
        <translation>%1 was not installed: %2</translation>
    </message>
</context>
<context>
    <name>VersionDetail</name>
    <message>
        <source>测试版</source>
        <translation>Beta</translation>
    </message>
    <message>
        <source>必须更新</source>
        <translation>Required</translation>
    </message>
</context>
<context>
    <name>C4D</name>
    <message>
        <source>默认相机</source>
        <translation>Active camera</translation>
    </message>
    <message>
        <source>渲染器</source>
        <translation>Renderer</translation>
    </message>
</context>
<context>
    <name>CanshuItem</name>
    <message>
        <source>序列帧</source>
        <translation>Frames</translation>
    </message>
    <message>
        <source>隔帧</source>
        <translation>Every nth</translation>
    </message>
    <message>
        <source>宽度</source>
        <translation>Width</translation>
    </message>
    <message>
        <source>高度</source>
        <translation>Height</translation>
    </message>
    <message>
        <source>整个任务使用统一的分辨率</source>
        <translation>One resolution for the whole task</translation>
    </message>
    <message>
        <source>统一宽度</source>
        <translation>Task width</translation>
    </message>
    <message>
        <source>统一高度</source>
        <translation>Task height</translation>
    </message>
    <message>
        <source>整个任务使用统一的序列帧</source>
        <translation>One frame range for the whole task</translation>
    </message>
    <message>
        <source>统一序列帧</source>
        <translation>Task frames</translation>
    </message>
</context>
<context>
    <name>Clarisse</name>
    <message>
        <source>图像和层</source>
        <translation>Images and layers</translation>
    </message>
    <message>
        <source>输出文件</source>
        <translation>Output file</translation>
    </message>
    <message>
        <source>输出格式</source>
        <translation>Output format</translation>
    </message>
    <message>
        <source>LUT</source>
        <translation>Lookup table</translation>
    </message>
    <message>
        <source>深度输出文件</source>
        <translation>Deep output file</translation>
    </message>
</context>
<context>
    <name>Houdini</name>
    <message>
        <source>渲染节点</source>
        <translation>Render nodes</translation>
    </message>
</context>
<context>
    <name>KeyFrame</name>
    <message>
        <source>优先帧已渲染完成，是否继续渲染？</source>
        <translation>Priority frames are done. Go on rendering?</translation>
    </message>
    <message>
        <source>请在%1小时内确定，否则过期任务将自动取消</source>
        <translation>Decide within %1 hours, or the task is cancelled</translation>
    </message>
    <message>
        <source>继续渲染</source>
        <translation>Go on</translation>
    </message>
    <message>
        <source>取消渲染</source>
        <translation>Cancel task</translation>
    </message>
    <message>
        <source>确定取消渲染吗？</source>
        <translation>Cancel rendering?</translation>
    </message>
    <message>
        <source>查看结果</source>
        <translation>View results</translation>
    </message>
    <message>
        <source>优先帧完成</source>
        <translation>Priority frames done</translation>
    </message>
    <message>
        <source>等待确认的任务</source>
        <translation>Tasks that wait</translation>
    </message>
    <message>
        <source>任务</source>
        <translation>Task</translation>
    </message>
    <message>
        <source>剩余时间</source>
        <translation>Time left</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>%1 小时</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>稍后决定</source>
        <translation>Later</translation>
    </message>
    <message>
        <source>正在发送…</source>
        <translation>Sending…</translation>
    </message>
    <message>
        <source>任务 %1</source>
        <translation>Task %1</translation>
    </message>
    <message>
        <source>下载队列没有运行，请稍后再试</source>
        <translation>The download queue isn&apos;t running. Try again in a moment</translation>
    </message>
</context>
<context>
    <name>KeyFrameItem</name>
    <message>
        <source>自动取首帧、中间帧和末帧</source>
        <translation>Take first, middle and last frame</translation>
    </message>
    <message>
        <source>优先帧</source>
        <translation>Priority frames</translation>
    </message>
    <message>
        <source>留空则不优先渲染</source>
        <translation>Empty: none come first</translation>
    </message>
    <message>
        <source>优先帧之后</source>
        <translation>Afterwards</translation>
    </message>
    <message>
        <source>优先帧渲染完成后，自动开始渲染</source>
        <translation>Render the rest when the priority frames are done</translation>
    </message>
    <message>
        <source>优先帧渲染完成后，等待手动开始渲染</source>
        <translation>Wait for me when the priority frames are done</translation>
    </message>
    <message>
        <source>优先帧分块渲染</source>
        <translation>Split each into</translation>
    </message>
    <message>
        <source>块</source>
        <translation>tiles</translation>
    </message>
</context>
<context>
    <name>Max</name>
    <message>
        <source>光子</source>
        <translation>Photons</translation>
    </message>
    <message>
        <source>不单独渲染光子</source>
        <translation>No pass of their own</translation>
    </message>
    <message>
        <source>使用本地光子</source>
        <translation>Use local photon files</translation>
    </message>
    <message>
        <source>优先渲染光子</source>
        <translation>Render photons first</translation>
    </message>
    <message>
        <source>分布式渲光子</source>
        <translation>Render photons on many machines</translation>
    </message>
    <message>
        <source>光子模式</source>
        <translation>Photon mode</translation>
    </message>
    <message>
        <source>光子尺寸</source>
        <translation>Photon size</translation>
    </message>
    <message>
        <source>光子隔帧</source>
        <translation>Photon step</translation>
    </message>
    <message>
        <source>渲染光子时计算反射和折射</source>
        <translation>Reflection and refraction in the photon pass</translation>
    </message>
    <message>
        <source>光子文件</source>
        <translation>Photon file</translation>
    </message>
    <message>
        <source>灯光缓存文件</source>
        <translation>Light cache file</translation>
    </message>
</context>
<context>
    <name>Maya</name>
    <message>
        <source>渲染层</source>
        <translation>Render layers</translation>
    </message>
    <message>
        <source>输入出图命名规则</source>
        <translation>File name rule</translation>
    </message>
    <message>
        <source>工程路径</source>
        <translation>Project path</translation>
    </message>
    <message>
        <source>渲染器</source>
        <translation>Renderer</translation>
    </message>
    <message>
        <source>输出格式</source>
        <translation>Output format</translation>
    </message>
    <message>
        <source>分层提交</source>
        <translation>Submit layer by layer</translation>
    </message>
    <message>
        <source>只上传主文件</source>
        <translation>Upload the main file only</translation>
    </message>
</context>
<context>
    <name>ParameterDialog</name>
    <message>
        <source>参数设置</source>
        <translation>Parameters</translation>
    </message>
    <message>
        <source>合计</source>
        <translation>Total</translation>
    </message>
    <message>
        <source>保存并提交</source>
        <translation>Save and submit</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>帧</source>
        <translation>Frames</translation>
    </message>
    <message>
        <source>分辨率</source>
        <translation>Resolution</translation>
    </message>
    <message>
        <source>相机</source>
        <translation>Cameras</translation>
    </message>
    <message>
        <source>%1 项一起修改</source>
        <translation>%1 changed together</translation>
    </message>
    <message>
        <source>输出</source>
        <translation>Output</translation>
    </message>
    <message>
        <source>优先帧</source>
        <translation>Priority frames</translation>
    </message>
    <message>
        <source>整个任务</source>
        <translation>Whole task</translation>
    </message>
    <message>
        <source>合计 %1 帧</source>
        <translation>%1 frames in all</translation>
    </message>
    <message>
        <source>，%1 百万像素</source>
        <translation>, %1 million pixels</translation>
    </message>
    <message>
        <source>已选 %1 / %2，</source>
        <translation>%1 of %2 chosen, </translation>
    </message>
    <message>
        <source>正在保存…</source>
        <translation>Saving…</translation>
    </message>
    <message>
        <source>任务已提交或已删除，参数没有保存</source>
        <translation>The scene has been submitted or deleted meanwhile; its parameters were not saved</translation>
    </message>
    <message>
        <source>解析队列没有运行，参数没有保存，请稍后再试</source>
        <translation>The analysis queue isn&apos;t running, the parameters were not saved. Try again in a moment</translation>
    </message>
</context>
<context>
    <name>ParameterSheet</name>
    <message>
        <source>项目路径不存在</source>
        <translation>The project path doesn&apos;t exist</translation>
    </message>
    <message>
        <source>请选择渲染层</source>
        <translation>Choose a render layer</translation>
    </message>
    <message>
        <source>请输入统一的宽度和高度</source>
        <translation>Enter width and height for the whole task</translation>
    </message>
    <message>
        <source>请输入 1 到 %1 之间的数字：%2</source>
        <translation>Enter a number from 1 to %1: %2</translation>
    </message>
    <message>
        <source>请输入出图名称</source>
        <translation>Enter an output name</translation>
    </message>
    <message>
        <source>光子尺寸的格式为“宽*高”</source>
        <translation>Write the photon size as width*height</translation>
    </message>
    <message>
        <source>当前光子隔帧为1，确认提交吗？</source>
        <translation>The photon step is 1. Submit all the same?</translation>
    </message>
</context>
<context>
    <name>Programs</name>
    <message>
        <source>单独优先帧</source>
        <translation>Own priority frames</translation>
    </message>
    <message>
        <source>只用于这一项，可留空</source>
        <translation>For this one only; may be empty</translation>
    </message>
    <message>
        <source>出图名称</source>
        <translation>Output name</translation>
    </message>
    <message>
        <source>出图格式</source>
        <translation>Output format</translation>
    </message>
</context>
<context>
    <name>ResolutionLock</name>
    <message>
        <source>宽高比已锁定</source>
        <translation>Width and height keep their ratio</translation>
    </message>
    <message>
        <source>锁定宽高比</source>
        <translation>Keep the ratio of width and height</translation>
    </message>
</context>
<context>
    <name>Terragen</name>
    <message>
        <source>渲染节点</source>
        <translation>Render nodes</translation>
    </message>
    <message>
        <source>GI 设置</source>
        <translation>GI settings</translation>
    </message>
    <message>
        <source>光子</source>
        <translation>Photons</translation>
    </message>
    <message>
        <source>不使用光子文件</source>
        <translation>No photon file</translation>
    </message>
    <message>
        <source>先渲光子再渲图</source>
        <translation>Render photons, then frames</translation>
    </message>
    <message>
        <source>本地光子</source>
        <translation>Local photon file</translation>
    </message>
    <message>
        <source>光子文件</source>
        <translation>Photon file</translation>
    </message>
    <message>
        <source>光子宽度</source>
        <translation>Photon width</translation>
    </message>
    <message>
        <source>光子高度</source>
        <translation>Photon height</translation>
    </message>
    <message>
        <source>光子隔帧</source>
        <translation>Photon step</translation>
    </message>
</context>
<context>
    <name>TickList</name>
    <message>
        <source>没有可选的内容</source>
        <translation>Nothing to choose from</translation>
    </message>
    <message>
        <source>搜索</source>
        <translation>Search</translation>
    </message>
    <message>
        <source>全选</source>
        <translation>All</translation>
    </message>
    <message>
        <source>全不选</source>
        <translation>None</translation>
    </message>
</context>
<context>
    <name>ActSet</name>
    <message>
        <source>撤销</source>
        <translation>Undo</translation>
    </message>
</context>
<context>
    <name>ShortCuts</name>
    <message>
        <source>快捷键</source>
        <translation>Keys</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>刷新列表</source>
        <translation>Refresh the list</translation>
    </message>
    <message>
        <source>搜索</source>
        <translation>Search</translation>
    </message>
    <message>
        <source>选中所有行</source>
        <translation>Select all rows</translation>
    </message>
    <message>
        <source>勾选选中的行</source>
        <translation>Tick the selected rows</translation>
    </message>
    <message>
        <source>打开当前行</source>
        <translation>Open the current row</translation>
    </message>
    <message>
        <source>清除搜索和选择</source>
        <translation>Clear search and selection</translation>
    </message>
    <message>
        <source>当前行的菜单</source>
        <translation>Menu of the current row</translation>
    </message>
</context>
<context>
    <name>WebDownload</name>
    <message>
        <source>%1 要下载文件：%2
保存到 %3？</source>
        <translation>%1 offers a file: %2
Save it to %3?</translation>
    </message>
    <message>
        <source>下载</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>下载完成</source>
        <translation>Downloaded</translation>
    </message>
    <message>
        <source>文件下载失败：%1
%2</source>
        <translation>The file couldn&apos;t be downloaded: %1
%2</translation>
    </message>
</context>
<context>
    <name>TaskAct</name>
    <message>
        <source>任务详情</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>优先级调整</source>
        <translation>Priority</translation>
    </message>
    <message>
        <source>重渲失败帧</source>
        <translation>Render failed frames again</translation>
    </message>
    <message>
        <source>继续渲染</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>暂停渲染</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>取消渲染</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>任务交接</source>
        <translation>Hand over</translation>
    </message>
    <message>
        <source>删除任务</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>全速渲染</source>
        <translation>Full speed</translation>
    </message>
    <message>
        <source>修改环境配置</source>
        <translation>Change environment</translation>
    </message>
    <message>
        <source>补帧</source>
        <translation>Further frames</translation>
    </message>
    <message>
        <source>下载</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>打开本地目录</source>
        <translation>Open folder</translation>
    </message>
    <message>
        <source>克隆任务</source>
        <translation>Clone</translation>
    </message>
    <message>
        <source>最大节点数</source>
        <translation>Most nodes</translation>
    </message>
    <message>
        <source>备注</source>
        <translation>Remark</translation>
    </message>
    <message>
        <source>正在调整优先级…</source>
        <translation>changing priority…</translation>
    </message>
    <message>
        <source>正在重渲…</source>
        <translation>rendering again…</translation>
    </message>
    <message>
        <source>正在继续…</source>
        <translation>continuing…</translation>
    </message>
    <message>
        <source>正在暂停…</source>
        <translation>pausing…</translation>
    </message>
    <message>
        <source>正在取消…</source>
        <translation>cancelling…</translation>
    </message>
    <message>
        <source>正在交接…</source>
        <translation>handing over…</translation>
    </message>
    <message>
        <source>正在转移…</source>
        <translation>moving…</translation>
    </message>
    <message>
        <source>正在全速…</source>
        <translation>going on…</translation>
    </message>
    <message>
        <source>正在修改环境…</source>
        <translation>changing environment…</translation>
    </message>
    <message>
        <source>正在补帧…</source>
        <translation>adding frames…</translation>
    </message>
    <message>
        <source>正在设置节点数…</source>
        <translation>setting nodes…</translation>
    </message>
    <message>
        <source>正在保存备注…</source>
        <translation>saving remark…</translation>
    </message>
</context>
<context>
    <name>TaskConfirm</name>
    <message>
        <source>继续</source>
        <translation>continue</translation>
    </message>
    <message>
        <source>暂停</source>
        <translation>pause</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>cancel</translation>
    </message>
    <message>
        <source>确定%1渲染吗？</source>
        <translation>Really %1 the render?</translation>
    </message>
    <message>
        <source>确定%1渲染吗？%2</source>
        <translation>Really %1 the render? %2</translation>
    </message>
    <message>
        <source>主渲染文件将连带操作</source>
        <translation>Its main task goes along</translation>
    </message>
    <message>
        <source>光子渲染文件将连带操作</source>
        <translation>Its light cache task goes along</translation>
    </message>
</context>
<context>
    <name>TaskDesk</name>
    <message>
        <source>没有连接到服务器，操作没有发出</source>
        <translation>There is no link to the server, nothing was sent</translation>
    </message>
    <message>
        <source>服务器没有回应，操作可能已经生效，请以任务列表为准</source>
        <translation>The server didn&apos;t answer. It may have been done all the same: see the list of tasks</translation>
    </message>
    <message>
        <source>%1：%2 个任务已完成</source>
        <translation>%1: done for %2 tasks</translation>
    </message>
    <message>
        <source>%1成功</source>
        <translation>%1: done</translation>
    </message>
    <message>
        <source>还有 %1 个</source>
        <translation>and %1 more</translation>
    </message>
</context>
<context>
    <name>TaskEta</name>
    <message>
        <source>%1 秒</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 分</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 小时</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>%1 小时 %2 分</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>%1 天</source>
        <translation>%1 d</translation>
    </message>
    <message>
        <source>%1 天 %2 小时</source>
        <translation>%1 d %2 h</translation>
    </message>
    <message>
        <source>约 %1，±%2</source>
        <translation>about %1, ±%2</translation>
    </message>
    <message>
        <source>%1（各帧相差较大）</source>
        <translation>%1 (frames differ much)</translation>
    </message>
    <message>
        <source>约 %1</source>
        <translation>about %1</translation>
    </message>
</context>
<context>
    <name>TaskFilter</name>
    <message>
        <source>含备注</source>
        <translation>With remark</translation>
    </message>
    <message>
        <source>无备注</source>
        <translation>Without remark</translation>
    </message>
</context>
<context>
    <name>TaskHands</name>
    <message>
        <source>任务编号 %1 超出可下载的范围</source>
        <translation>Task number %1 is beyond what can be downloaded</translation>
    </message>
    <message>
        <source>下载队列没有运行，请稍后再试</source>
        <translation>The download queue isn&apos;t running, please try again later</translation>
    </message>
    <message>
        <source>该文件暂不支持克隆，请至网盘重新提交！</source>
        <translation>This file can&apos;t be cloned yet, please submit it again from the drive</translation>
    </message>
</context>
<context>
    <name>TaskNews</name>
    <message>
        <source>任务 %1</source>
        <translation>Task %1</translation>
    </message>
    <message>
        <source>任务渲染完成</source>
        <translation>Task rendered</translation>
    </message>
    <message>
        <source>%1 个任务渲染完成</source>
        <translation>%1 tasks rendered</translation>
    </message>
    <message>
        <source>任务有失败的帧</source>
        <translation>Task has failed frames</translation>
    </message>
    <message>
        <source>%1 个任务有失败的帧</source>
        <translation>%1 tasks have failed frames</translation>
    </message>
    <message>
        <source>任务已取消</source>
        <translation>Task cancelled</translation>
    </message>
    <message>
        <source>%1 个任务已取消</source>
        <translation>%1 tasks cancelled</translation>
    </message>
    <message>
        <source>等 %1 个</source>
        <translation> and others, %1 in all</translation>
    </message>
</context>
<context>
    <name>TaskText</name>
    <message>
        <source>服务器拒绝了请求 (%1)</source>
        <translation>The server refused (%1)</translation>
    </message>
</context>
<context>
    <name>CommitPreview</name>
    <message>
        <source>提交渲染</source>
        <translation>Submit for rendering</translation>
    </message>
    <message>
        <source>同一批拖入的另外 %1 个场景，有警告的也自动提交</source>
        <translation>Also submit the other %1 scenes of this drop, even those with warnings</translation>
    </message>
    <message>
        <source>仍要提交</source>
        <translation>Submit anyway</translation>
    </message>
    <message>
        <source>提交</source>
        <translation>Submit</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Back</translation>
    </message>
    <message>
        <source>文件</source>
        <translation>Files</translation>
    </message>
    <message>
        <source>缺失</source>
        <translation>Missing</translation>
    </message>
    <message>
        <source>重复</source>
        <translation>Copies</translation>
    </message>
    <message>
        <source>农场已有</source>
        <translation>Already there</translation>
    </message>
    <message>
        <source>还需上传</source>
        <translation>To upload</translation>
    </message>
    <message>
        <source>结果空间</source>
        <translation>Results</translation>
    </message>
    <message>
        <source>缺失文件所在目录</source>
        <translation>Folder with missing files</translation>
    </message>
    <message>
        <source>%1 等 %2 个</source>
        <translation>%1 and others, %2 in all</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>缺失的文件</source>
        <translation>Missing files</translation>
    </message>
    <message>
        <source>没有缺失的文件</source>
        <translation>No file is missing</translation>
    </message>
    <message>
        <source>查找…</source>
        <translation>Find…</translation>
    </message>
    <message>
        <source>还没有测得上传速度</source>
        <translation>no upload has been measured yet</translation>
    </message>
    <message>
        <source>不到 1 分</source>
        <translation>less than a minute</translation>
    </message>
    <message>
        <source>约 %1</source>
        <translation>about %1</translation>
    </message>
    <message>
        <source>%1，按 %2/S 计</source>
        <translation>%1 at %2/S</translation>
    </message>
    <message>
        <source>%1 个</source>
        <translation>%1</translation>
    </message>
    <message>
        <source>正在统计… %1</source>
        <translation>Counting… %1</translation>
    </message>
    <message>
        <source>没有可提交的文件列表</source>
        <translation>There is no list of files to submit</translation>
    </message>
    <message>
        <source>，另有 %1 个已在对应的目录中找到</source>
        <translation>, %1 more were found in the folder that stands for theirs</translation>
    </message>
    <message>
        <source>无</source>
        <translation>None</translation>
    </message>
    <message>
        <source>%1 个同名同大小的文件，%2</source>
        <translation>%1 files of the same name and size, %2</translation>
    </message>
    <message>
        <source>%1 个，%2</source>
        <translation>%1, %2</translation>
    </message>
    <message>
        <source>%1 的剩余空间未知</source>
        <translation>Free space of %1 unknown</translation>
    </message>
    <message>
        <source>%1 剩余 %2</source>
        <translation>%2 free at %1</translation>
    </message>
    <message>
        <source>“%1”现在在哪里？</source>
        <translation>Where is &quot;%1&quot; now?</translation>
    </message>
    <message>
        <source>正在“%1”中查找…</source>
        <translation>Looking in &quot;%1&quot;…</translation>
    </message>
    <message>
        <source>“%1”中没有找到缺失的文件</source>
        <translation>None of the missing files is in &quot;%1&quot;</translation>
    </message>
    <message>
        <source>已找到 %1 个文件，以后缺失时会先在“%2”中查找</source>
        <translation>%1 files found; missing files of that folder will be looked for in &quot;%2&quot; from now on</translation>
    </message>
    <message>
        <source>已找到 %1 个文件，还缺 %2 个</source>
        <translation>%1 files found, %2 still missing</translation>
    </message>
    <message>
        <source>%1 个以上，%2</source>
        <translation>More than %1, %2</translation>
    </message>
    <message>
        <source>%1（已询问 %2/%3）</source>
        <translation>%1 (asked about %2 of %3)</translation>
    </message>
</context>
<context>
    <name>Preflight</name>
    <message>
        <source>磁盘没有应答，仍在等待</source>
        <translation>The disk doesn't answer, still waiting</translation>
    </message>
    <message>
        <source>农场没有应答</source>
        <translation>The farm doesn't answer</translation>
    </message>
    <message>
        <source>下单后才知道由哪个农场渲染，暂时无法询问</source>
        <translation>Which farm renders it is known only after the order, so none can be asked yet</translation>
    </message>
    <message>
        <source>无法连接农场</source>
        <translation>The farm can't be reached</translation>
    </message>
    <message>
        <source>农场在下单之前不回答 (%1)</source>
        <translation>The farm tells nothing before an order (%1)</translation>
    </message>
</context>
<context>
    <name>CloudAnalysis</name>
    <message>
        <source>您还没有解析文件的权限，请联系您的母账号开通！</source>
        <translation>You have no right to analyse files. Ask your main account for it!</translation>
    </message>
    <message>
        <source>农场不支持解析此类文件，没有提交：
%1</source>
        <translation>The farm can't analyse files of this kind, they were not sent:
%1</translation>
    </message>
    <message>
        <source>解析队列尚未就绪，请稍后重试</source>
        <translation>The analysis queue is not ready yet, please try again later</translation>
    </message>
    <message>
        <source>%1参数设置</source>
        <translation>%1 parameters</translation>
    </message>
</context>
<context>
    <name>MDW</name>
    <message>
        <source>点击输入</source>
        <translation>Click to type</translation>
    </message>
</context>
<context>
    <name>MayaD</name>
    <message>
        <source>保存</source>
        <translation>Save</translation>
    </message>
</context>
<context>
    <name>ResolveD</name>
    <message>
        <source>解析提交</source>
        <translation>Submit scenes</translation>
    </message>
    <message>
        <source>文件名称</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>软件</source>
        <translation>Software</translation>
    </message>
    <message>
        <source>开始解析时间</source>
        <translation>Analysis started</translation>
    </message>
    <message>
        <source>结束时间</source>
        <translation>Ended</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>云盘解析列表</source>
        <translation>Analyses on the drive</translation>
    </message>
    <message>
        <source>暂时没有解析记录呢</source>
        <translation>No scenes yet</translation>
    </message>
    <message>
        <source>在云盘中选择场景文件，点击“解析”</source>
        <translation>Choose scene files on the drive and click “Analyse”</translation>
    </message>
    <message>
        <source>搜索文件名称</source>
        <translation>Search by file name</translation>
    </message>
    <message>
        <source>确定删除“%1”的解析记录吗？云盘里的文件不会删除。</source>
        <translation>Delete the analysis of “%1”? The file on the drive stays.</translation>
    </message>
    <message>
        <source>确定删除选中的 %1 条解析记录吗？云盘里的文件不会删除。</source>
        <translation>Delete the %1 selected analyses? The files on the drive stay.</translation>
    </message>
    <message>
        <source>您还没有提交渲染的权限，请联系您的母账号开通！</source>
        <translation>You are not allowed to submit renders, please ask the owner of your account!</translation>
    </message>
    <message>
        <source>这类场景没有可以设置的参数</source>
        <translation>Scenes of this kind have no parameters to set</translation>
    </message>
    <message>
        <source>您还没有参数设置的权限！</source>
        <translation>You are not allowed to set parameters!</translation>
    </message>
</context>
<context>
    <name>SubmitMayaD</name>
    <message>
        <source>提交渲染</source>
        <translation>Submit</translation>
    </message>
    <message>
        <source>帧</source>
        <translation>Frame</translation>
    </message>
    <message>
        <source>“%1”的帧</source>
        <translation>Frames of “%1”</translation>
    </message>
    <message>
        <source>帧序列</source>
        <translation>Frames</translation>
    </message>
    <message>
        <source>优先帧</source>
        <translation>Priority frames</translation>
    </message>
    <message>
        <source>可留空</source>
        <translation>May stay empty</translation>
    </message>
    <message>
        <source>之后</source>
        <translation>Then</translation>
    </message>
    <message>
        <source>优先帧渲染完成后，自动开始渲染</source>
        <translation>Go on by itself</translation>
    </message>
    <message>
        <source>优先帧渲染完成后，等待手动开始渲染</source>
        <translation>Wait until I start it</translation>
    </message>
    <message>
        <source>&quot;%1&quot;的帧序列不能为空！</source>
        <translation>The frames of &quot;%1&quot; must not be empty!</translation>
    </message>
    <message>
        <source>正在保存…</source>
        <translation>Saving…</translation>
    </message>
    <message>
        <source>解析队列尚未就绪，请稍后重试</source>
        <translation>The analysis queue is not ready yet, please try again later</translation>
    </message>
</context>
<context>
    <name>DirWork</name>
    <message>
        <source>链接指向所选文件夹之外，未跟随：%1</source>
        <translation>A link leads out of what was chosen and isn't followed: %1</translation>
    </message>
    <message>
        <source>文件夹层数过多，已跳过：%1</source>
        <translation>Too many folders within each other, left out: %1</translation>
    </message>
    <message>
        <source>%1 在云盘上的名称为 %2</source>
        <translation>%1 is called %2 on the drive</translation>
    </message>
    <message>
        <source>文件夹暂时无法处理，稍后重试：%1（%2）</source>
        <translation>A folder failed and will be tried again: %1 (%2)</translation>
    </message>
    <message>
        <source>文件夹多次读取失败：%1（%2）</source>
        <translation>A folder failed again and again: %1 (%2)</translation>
    </message>
    <message>
        <source>云盘文件夹互相包含，已跳过：%1</source>
        <translation>Folders of the drive contain each other, left out: %1</translation>
    </message>
    <message>
        <source>%1 在本地的名称为 %2</source>
        <translation>%1 is called %2 on this machine</translation>
    </message>
    <message>
        <source>%1 中有 %2 项无法使用，已跳过</source>
        <translation>%2 entries of %1 can't be used and are left out</translation>
    </message>
    <message>
        <source>链接层数过多，未跟随：%1</source>
        <translation>Too many links on the way, not followed: %1</translation>
    </message>
    <message>
        <source>不是普通文件，已跳过：%1</source>
        <translation>Not a regular file, left out: %1</translation>
    </message>
    <message>
        <source>文件已消失或无法访问，已跳过：%1</source>
        <translation>A file has vanished or is out of reach, and is left out: %1</translation>
    </message>
    <message>
        <source>传输无法保存</source>
        <translation>The transfer can't be saved</translation>
    </message>
    <message>
        <source>（另有 %1 条提示，详见日志）</source>
        <translation> (and %1 more, see the log)</translation>
    </message>
    <message>
        <source>文件夹无法读取，已跳过：%1（%2）</source>
        <translation>A folder can't be read and is left out: %1 (%2)</translation>
    </message>
    <message>
        <source>传输记录无法保存，磁盘可能已满</source>
        <translation>The record of transfers can't be saved, the disk may be full</translation>
    </message>
</context>
<context>
    <name>DriveFolder</name>
    <message>
        <source>云盘上没有：%1</source>
        <translation>The drive has no %1</translation>
    </message>
</context>
<context>
    <name>DriveHandler</name>
    <message>
        <source>有 %1 项传输失败，可重新开始</source>
        <translation>%1 items failed; they can be started again</translation>
    </message>
    <message>
        <source>没有农场的地址或令牌</source>
        <translation>there is no address or token of the farm</translation>
    </message>
    <message>
        <source>传输受阻，稍后重试：%1</source>
        <translation>Held up, will be tried again: %1</translation>
    </message>
    <message>
        <source>磁盘空间不足，已暂停</source>
        <translation>The disk is full, paused</translation>
    </message>
    <message>
        <source>网盘空间不足，已暂停</source>
        <translation>The drive is full, paused</translation>
    </message>
    <message>
        <source>农场拒绝访问，稍后重试</source>
        <translation>The farm refuses access, tried again later</translation>
    </message>
    <message>
        <source>%1 个文件已存在，已跳过</source>
        <translation>%1 files were here already and were skipped</translation>
    </message>
    <message>
        <source>传输记录无法保存，磁盘可能已满</source>
        <translation>The record of transfers can't be saved, the disk may be full</translation>
    </message>
</context>
<context>
    <name>DriveRest</name>
    <message>
        <source>云盘回复无法读取</source>
        <translation>The drive's reply can't be read</translation>
    </message>
    <message>
        <source>无法获取农场 %1 的地址</source>
        <translation>The address of farm %1 can't be had</translation>
    </message>
</context>
<context>
    <name>LogItem</name>
    <message>
        <source>日志</source>
        <translation>Log</translation>
    </message>
    <message>
        <source>查看日志</source>
        <translation>View log</translation>
    </message>
</context>
<context>
    <name>MissionSub</name>
    <message>
        <source>任务详情</source>
        <translation>Task details</translation>
    </message>
    <message>
        <source>操作记录</source>
        <translation>Operations</translation>
    </message>
</context>
<context>
    <name>MissionSubPage</name>
    <message>
        <source>已下载</source>
        <translation>Downloaded</translation>
    </message>
    <message>
        <source>未下载</source>
        <translation>Not downloaded</translation>
    </message>
    <message>
        <source>块</source>
        <translation>Block</translation>
    </message>
    <message>
        <source>帧</source>
        <translation>Frame</translation>
    </message>
    <message>
        <source>图片</source>
        <translation>Picture</translation>
    </message>
    <message>
        <source>预览</source>
        <translation>Preview</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>说明</source>
        <translation>Note</translation>
    </message>
    <message>
        <source>分块</source>
        <translation>Blocks</translation>
    </message>
    <message>
        <source>开始时间</source>
        <translation>Started</translation>
    </message>
    <message>
        <source>结束时间</source>
        <translation>Ended</translation>
    </message>
    <message>
        <source>渲染时长</source>
        <translation>Duration</translation>
    </message>
    <message>
        <source>内存峰值</source>
        <translation>Peak memory</translation>
    </message>
    <message>
        <source>阶段</source>
        <translation>Stage</translation>
    </message>
    <message>
        <source>速度</source>
        <translation>Speed</translation>
    </message>
    <message>
        <source>下载状态</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>分块列表</source>
        <translation>Blocks</translation>
    </message>
    <message>
        <source>子任务列表</source>
        <translation>Sub-tasks</translation>
    </message>
    <message>
        <source>没有分块</source>
        <translation>No blocks</translation>
    </message>
    <message>
        <source>没有子任务</source>
        <translation>No sub-tasks</translation>
    </message>
    <message>
        <source>换一个状态，或稍后刷新</source>
        <translation>Choose another state, or refresh later</translation>
    </message>
    <message>
        <source>子任务状态</source>
        <translation>State of sub-tasks</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Back</translation>
    </message>
    <message>
        <source>复制订单号</source>
        <translation>Copy order number</translation>
    </message>
    <message>
        <source>查看日志</source>
        <translation>View log</translation>
    </message>
    <message>
        <source>下载</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>重渲当前帧</source>
        <translation>Render again</translation>
    </message>
    <message>
        <source>重渲当前帧，子任务将重渲生成新的渲染记录并有新的费用产生</source>
        <translation>Rendering these frames again makes new render records and costs anew</translation>
    </message>
    <message>
        <source>取消渲染</source>
        <translation>Cancel rendering</translation>
    </message>
    <message>
        <source>确定取消渲染吗？</source>
        <translation>Cancel rendering?</translation>
    </message>
    <message>
        <source>分块详情</source>
        <translation>Blocks</translation>
    </message>
    <message>
        <source>对比两帧</source>
        <translation>Compare two frames</translation>
    </message>
    <message>
        <source>全部帧</source>
        <translation>All frames</translation>
    </message>
    <message>
        <source>打开本地目录</source>
        <translation>Open local folder</translation>
    </message>
    <message>
        <source>总块数：%1    渲染中：%2    排队中：%3    已暂停：%4    已完成：%5    已失败：%6    已取消：%7</source>
        <translation>Blocks: %1    Rendering: %2    Queued: %3    Paused: %4    Done: %5    Failed: %6    Cancelled: %7</translation>
    </message>
    <message>
        <source>总帧数：%1    渲染中：%2    排队中：%3    已暂停：%4    已完成：%5    已失败：%6    已取消：%7</source>
        <translation>Frames: %1    Rendering: %2    Queued: %3    Paused: %4    Done: %5    Failed: %6    Cancelled: %7</translation>
    </message>
    <message>
        <source>正在处理 ...</source>
        <translation>On its way ...</translation>
    </message>
    <message>
        <source>%1 个中有 %2 个失败：%3</source>
        <translation>Of %1, %2 failed: %3</translation>
    </message>
    <message>
        <source>已取消渲染</source>
        <translation>Rendering cancelled</translation>
    </message>
    <message>
        <source>重渲成功</source>
        <translation>Will be rendered again</translation>
    </message>
    <message>
        <source>帧%1为优先帧分块渲染，请到分块详情页面下载！</source>
        <translation>Frame %1 is rendered in blocks; download it from its blocks!</translation>
    </message>
    <message>
        <source>已加入下载队列</source>
        <translation>Added to the downloads</translation>
    </message>
    <message>
        <source>请选择两帧进行对比</source>
        <translation>Choose two frames to compare</translation>
    </message>
    <message>
        <source>已复制：%1</source>
        <translation>Copied: %1</translation>
    </message>
    <message>
        <source>第 %1 块</source>
        <translation>Block %1</translation>
    </message>
</context>
<context>
    <name>MissionText</name>
    <message>
        <source>复制</source>
        <translation>Copy</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>任务详情</source>
        <translation>Task details</translation>
    </message>
    <message>
        <source>操作记录</source>
        <translation>Operations</translation>
    </message>
    <message>
        <source>暂时没有记录</source>
        <translation>Nothing recorded yet</translation>
    </message>
</context>
<context>
    <name>MissonBlock</name>
    <message>
        <source>分块详情：%1</source>
        <translation>Blocks of %1</translation>
    </message>
    <message>
        <source>第 %1 帧，%2 块</source>
        <translation>Frame %1, %2 blocks</translation>
    </message>
</context>
<context>
    <name>Preview</name>
    <message>
        <source>读取中 ...</source>
        <translation>Reading ...</translation>
    </message>
</context>
<context>
    <name>PreviewQN</name>
    <message>
        <source>第几张图片</source>
        <translation>Which picture</translation>
    </message>
    <message>
        <source>第 %1 帧还没有</source>
        <translation>Frame %1 isn't there yet</translation>
    </message>
    <message>
        <source>读取中 ...</source>
        <translation>Reading ...</translation>
    </message>
    <message>
        <source>图片无法预览</source>
        <translation>The picture can't be shown</translation>
    </message>
    <message>
        <source>图片 %1/%2</source>
        <translation>Picture %1/%2</translation>
    </message>
</context>
<context>
    <name>SubDetail</name>
    <message>
        <source>先渲光子</source>
        <translation>Light cache first</translation>
    </message>
    <message>
        <source>分布式渲光子</source>
        <translation>Light cache, distributed</translation>
    </message>
    <message>
        <source>本地光子</source>
        <translation>Local light cache</translation>
    </message>
    <message>
        <source>任务名：</source>
        <translation>Task: </translation>
    </message>
    <message>
        <source>订单号：</source>
        <translation>Order: </translation>
    </message>
    <message>
        <source>归属人：</source>
        <translation>Owner: </translation>
    </message>
    <message>
        <source>所属农场：</source>
        <translation>Farm: </translation>
    </message>
    <message>
        <source>所选机型：</source>
        <translation>Machine: </translation>
    </message>
    <message>
        <source>环境配置：</source>
        <translation>Environment: </translation>
    </message>
    <message>
        <source>工程路径：</source>
        <translation>Project path: </translation>
    </message>
    <message>
        <source>输出路径：</source>
        <translation>Output path: </translation>
    </message>
    <message>
        <source>分辨率：</source>
        <translation>Size: </translation>
    </message>
    <message>
        <source>输出格式：</source>
        <translation>Format: </translation>
    </message>
    <message>
        <source>上传模式：</source>
        <translation>Upload: </translation>
    </message>
    <message>
        <source>只上传主文件</source>
        <translation>scene only</translation>
    </message>
    <message>
        <source>完整上传</source>
        <translation>complete</translation>
    </message>
    <message>
        <source>优先帧：</source>
        <translation>Priority frames: </translation>
    </message>
    <message>
        <source>子任务帧数：</source>
        <translation>Frames of a sub-task: </translation>
    </message>
    <message>
        <source>光子信息：</source>
        <translation>Light caches: </translation>
    </message>
    <message>
        <source>参数信息：</source>
        <translation>Parameters: </translation>
    </message>
    <message>
        <source>操作人：%1     时间：%2     内容：%3</source>
        <translation>By: %1     At: %2     What: %3</translation>
    </message>
    <message>
        <source>光子文件：%1<byte value="xd"/>
</source>
        <translation>Light cache file: %1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>光子宽度：%1<byte value="xd"/>
</source>
        <translation>Light cache width: %1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>光子高度：%1<byte value="xd"/>
</source>
        <translation>Light cache height: %1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>光子隔帧：%1<byte value="xd"/>
</source>
        <translation>Light cache step: %1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>发光贴图文件：<byte value="xd"/>
</source>
        <translation>Irradiance map file:<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>灯光缓存文件：<byte value="xd"/>
</source>
        <translation>Light cache map file:<byte value="xd"/>
</translation>
    </message>
</context>
<context>
    <name>SubFrames</name>
    <message>
        <source>服务器没有响应，请检查网络后重试</source>
        <translation>The server doesn't answer; check the network and try again</translation>
    </message>
</context>
<context>
    <name>SubLog</name>
    <message>
        <source>服务器没有响应，请检查网络后重试</source>
        <translation>The server doesn't answer; check the network and try again</translation>
    </message>
    <message>
        <source>没有日志 (%1)</source>
        <translation>There is no log (%1)</translation>
    </message>
    <message>
        <source>日志无法写入：%1</source>
        <translation>The log can't be written: %1</translation>
    </message>
    <message>
        <source>服务器没有给出日志的位置</source>
        <translation>The server didn't tell where the log lies</translation>
    </message>
    <message>
        <source>找不到日志所在的文件服务器</source>
        <translation>The log's file server can't be found</translation>
    </message>
    <message>
        <source>磁盘空间不足</source>
        <translation>Not enough disk space</translation>
    </message>
    <message>
        <source>文件服务器没有应答，稍后再试</source>
        <translation>The file server doesn't answer; it will be tried again</translation>
    </message>
    <message>
        <source>连接中断，稍后从断点继续</source>
        <translation>The link broke; it goes on from there</translation>
    </message>
</context>
<context>
    <name>SubPicture</name>
    <message>
        <source>暂时无截图预览，请稍后再试！</source>
        <translation>There's no picture yet; try again later!</translation>
    </message>
    <message>
        <source>服务器没有响应，请检查网络后重试</source>
        <translation>The server doesn't answer; check the network and try again</translation>
    </message>
    <message>
        <source>预览失败:%1</source>
        <translation>Preview failed: %1</translation>
    </message>
    <message>
        <source>图片无法预览</source>
        <translation>The picture can't be shown</translation>
    </message>
    <message>
        <source>文件太大</source>
        <translation>The file is too large</translation>
    </message>
    <message>
        <source>文件无法写入：%1</source>
        <translation>The file can't be written: %1</translation>
    </message>
</context>
<context>
    <name>SubTask</name>
    <message>
        <source>渲染中</source>
        <translation>Rendering</translation>
    </message>
    <message>
        <source>排队中</source>
        <translation>Queued</translation>
    </message>
    <message>
        <source>已暂停</source>
        <translation>Paused</translation>
    </message>
    <message>
        <source>已完成</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>渲染失败</source>
        <translation>Failed</translation>
    </message>
    <message>
        <source>已取消</source>
        <translation>Cancelled</translation>
    </message>
    <message>
        <source>全部</source>
        <translation>All</translation>
    </message>
    <message>
        <source>重渲</source>
        <translation>again</translation>
    </message>
    <message>
        <source>补帧</source>
        <translation>filled</translation>
    </message>
    <message>
        <source>光子</source>
        <translation>light cache</translation>
    </message>
    <message>
        <source>合并光子</source>
        <translation>merged light cache</translation>
    </message>
    <message>
        <source>分块</source>
        <translation>block</translation>
    </message>
    <message>
        <source>层名</source>
        <translation>Layer</translation>
    </message>
    <message>
        <source>节点</source>
        <translation>Node</translation>
    </message>
    <message>
        <source>镜头</source>
        <translation>Camera</translation>
    </message>
</context>
<context>
    <name>BaseFill</name>
    <message>
        <source>分辨率：</source>
        <translation>Size: </translation>
    </message>
    <message>
        <source>补帧</source>
        <translation>Further frames</translation>
    </message>
    <message>
        <source>请至少选择一项</source>
        <translation>Choose one at least</translation>
    </message>
    <message>
        <source>请输入补帧号</source>
        <translation>Enter the frames to add</translation>
    </message>
    <message>
        <source>原渲序列</source>
        <translation>Frames so far</translation>
    </message>
    <message>
        <source>补选序列</source>
        <translation>Frames to add</translation>
    </message>
</context>
<context>
    <name>BaseMission</name>
    <message>
        <source>%1 个任务已加入下载队列</source>
        <translation>%1 tasks are in the download queue now</translation>
    </message>
    <message>
        <source>任务列表</source>
        <translation>List of tasks</translation>
    </message>
    <message>
        <source>余额不足，请充值</source>
        <translation>The balance is too low, please recharge</translation>
    </message>
    <message>
        <source>历史任务列表</source>
        <translation>List of past tasks</translation>
    </message>
    <message>
        <source>已选 %1 / 本页 %2</source>
        <translation>%1 of %2 chosen</translation>
    </message>
    <message>
        <source>提交渲染的场景会出现在这里</source>
        <translation>Scenes that are submitted appear here</translation>
    </message>
    <message>
        <source>搜索任务名称</source>
        <translation>Search task names</translation>
    </message>
    <message>
        <source>显示的列</source>
        <translation>Columns</translation>
    </message>
    <message>
        <source>暂时没有任务呢</source>
        <translation>No tasks yet</translation>
    </message>
    <message>
        <source>服务器没有响应，请检查网络后重试</source>
        <translation>The server doesn&apos;t answer. Check the network and try again</translation>
    </message>
    <message>
        <source>本地还没有该任务的结果目录</source>
        <translation>There is no folder of this task&apos;s results here yet</translation>
    </message>
    <message>
        <source>查看</source>
        <translation>Show</translation>
    </message>
    <message>
        <source>此软件的任务不支持补帧</source>
        <translation>Tasks of this software can&apos;t get further frames</translation>
    </message>
    <message>
        <source>确定将任务转移到历史任务模块吗？转移后不可逆！</source>
        <translation>Move the tasks to the history? They can&apos;t be moved back!</translation>
    </message>
    <message>
        <source>确定重新渲染失败子任务吗？</source>
        <translation>Render the failed frames once more?</translation>
    </message>
    <message>
        <source>补帧成功</source>
        <translation>Frames added</translation>
    </message>
    <message>
        <source>解析队列没有运行，请稍后再试</source>
        <translation>The analysis queue isn&apos;t running, please try again later</translation>
    </message>
</context>
<context>
    <name>C4DFillFrame</name>
    <message>
        <source>渲染器：</source>
        <translation>Renderer: </translation>
    </message>
    <message>
        <source>相机：</source>
        <translation>Cameras: </translation>
    </message>
    <message>
        <source>输出文件：</source>
        <translation>Output: </translation>
    </message>
</context>
<context>
    <name>ClarisseFillFrame</name>
    <message>
        <source>图像</source>
        <translation>Images</translation>
    </message>
</context>
<context>
    <name>DetailQueue</name>
    <message>
        <source>应用到全部</source>
        <translation>Apply to all</translation>
    </message>
    <message>
        <source>%1（%2/%3）</source>
        <translation>%1 (%2/%3)</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>HoudiniFillFrame</name>
    <message>
        <source>渲染节点</source>
        <translation>Render nodes</translation>
    </message>
</context>
<context>
    <name>MaxFillFrame</name>
    <message>
        <source>光子文件：</source>
        <translation>Light cache files: </translation>
    </message>
    <message>
        <source>相机：</source>
        <translation>Cameras: </translation>
    </message>
    <message>
        <source>输出文件：</source>
        <translation>Output: </translation>
    </message>
</context>
<context>
    <name>MayaFillFrame</name>
    <message>
        <source>渲染层</source>
        <translation>Render layers</translation>
    </message>
</context>
<context>
    <name>MissionHand</name>
    <message>
        <source>优先级调整</source>
        <translation>Priority</translation>
    </message>
    <message>
        <source>更多</source>
        <translation>More</translation>
    </message>
    <message>
        <source>详情</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>重渲失败帧</source>
        <translation>Render failed frames again</translation>
    </message>
</context>
<context>
    <name>MissionPart</name>
    <message>
        <source>完成</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>展示%1</source>
        <translation>Show%1</translation>
    </message>
    <message>
        <source>新增列展示</source>
        <translation>Columns</translation>
    </message>
</context>
<context>
    <name>MissionPri</name>
    <message>
        <source>上移</source>
        <translation>Up</translation>
    </message>
    <message>
        <source>下移</source>
        <translation>Down</translation>
    </message>
    <message>
        <source>任务名</source>
        <translation>Task</translation>
    </message>
    <message>
        <source>任务状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>农场 %1</source>
        <translation>Farm %1</translation>
    </message>
    <message>
        <source>创建人</source>
        <translation>Creator</translation>
    </message>
    <message>
        <source>所属项目</source>
        <translation>Project</translation>
    </message>
    <message>
        <source>提交时间</source>
        <translation>Submitted</translation>
    </message>
    <message>
        <source>置底</source>
        <translation>To the end</translation>
    </message>
    <message>
        <source>置顶</source>
        <translation>To the front</translation>
    </message>
    <message>
        <source>优先级调度</source>
        <translation>Priority</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>农场</source>
        <translation>Farm</translation>
    </message>
    <message>
        <source>没有等待的任务</source>
        <translation>No tasks are waiting</translation>
    </message>
</context>
<context>
    <name>ModifyEnv</name>
    <message>
        <source>GPU机型</source>
        <translation>GPU machines</translation>
    </message>
    <message>
        <source>修改环境配置</source>
        <translation>Change environment</translation>
    </message>
    <message>
        <source>插件修改</source>
        <translation>Plug-ins</translation>
    </message>
    <message>
        <source>机型修改</source>
        <translation>Machine</translation>
    </message>
    <message>
        <source>任务名称</source>
        <translation>Task</translation>
    </message>
    <message>
        <source>当前选择</source>
        <translation>Now</translation>
    </message>
</context>
<context>
    <name>NodeItem</name>
    <message>
        <source>修改备注</source>
        <translation>Change the remark</translation>
    </message>
    <message>
        <source>最大节点数</source>
        <translation>Most nodes</translation>
    </message>
</context>
<context>
    <name>NodeLimit</name>
    <message>
        <source>最大节点数设置不能超过%1</source>
        <translation>There can&apos;t be more than %1 nodes</translation>
    </message>
    <message>
        <source>请输入正整数</source>
        <translation>Enter a positive whole number</translation>
    </message>
    <message>
        <source>%1 个任务</source>
        <translation>%1 tasks</translation>
    </message>
    <message>
        <source>备注</source>
        <translation>Remark</translation>
    </message>
    <message>
        <source>最大节点数</source>
        <translation>Most nodes</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>PauseRender</name>
    <message>
        <source>延时暂停（当前正在渲染的子任务渲染完成之后暂停）</source>
        <translation>Later (frames that are being rendered are finished first)</translation>
    </message>
    <message>
        <source>暂停渲染</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>立即暂停（当前渲染中的子任务进程立即取消渲染）</source>
        <translation>At once (frames that are being rendered are cancelled)</translation>
    </message>
    <message>
        <source>请选择暂停方式！</source>
        <translation>How shall it be paused?</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>TakeOver</name>
    <message>
        <source>%1 个任务</source>
        <translation>%1 tasks</translation>
    </message>
    <message>
        <source>任务交接</source>
        <translation>Hand over</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>没有可以交接的账号</source>
        <translation>There is no account to hand over to</translation>
    </message>
    <message>
        <source>选择账号</source>
        <translation>Account</translation>
    </message>
</context>
<context>
    <name>TaskDetail</name>
    <message>
        <source>服务器没有响应，请检查网络后重试</source>
        <translation>The server doesn&apos;t answer. Check the network and try again</translation>
    </message>
    <message>
        <source>没有任务的详情</source>
        <translation>The server told nothing of the task</translation>
    </message>
</context>
<context>
    <name>TaskFilterMenus</name>
    <message>
        <source>%1(筛选)</source>
        <translation>%1 (filtered)</translation>
    </message>
    <message>
        <source>保存</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>保存当前筛选…</source>
        <translation>Save this filter…</translation>
    </message>
    <message>
        <source>保存筛选</source>
        <translation>Save filter</translation>
    </message>
    <message>
        <source>全选</source>
        <translation>All</translation>
    </message>
    <message>
        <source>创建人</source>
        <translation>Creator</translation>
    </message>
    <message>
        <source>删除已存的筛选</source>
        <translation>Remove a saved filter</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>名称</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>备注</source>
        <translation>Remark</translation>
    </message>
    <message>
        <source>我的任务</source>
        <translation>My tasks</translation>
    </message>
    <message>
        <source>最多保存 %1 个筛选</source>
        <translation>No more than %1 filters can be saved</translation>
    </message>
    <message>
        <source>清除筛选</source>
        <translation>Clear filters</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>项目</source>
        <translation>Project</translation>
    </message>
    <message>
        <source>筛选</source>
        <translation>Filter</translation>
    </message>
</context>
<context>
    <name>TaskModel</name>
    <message>
        <source>%1
有的帧渲染超时，请查看子任务</source>
        <translation>%1
Some frames took too long, see the sub-tasks</translation>
    </message>
    <message>
        <source>(筛选)</source>
        <translation> (filtered)</translation>
    </message>
    <message>
        <source>任务名称</source>
        <translation>Task</translation>
    </message>
    <message>
        <source>内存峰值</source>
        <translation>Peak memory</translation>
    </message>
    <message>
        <source>创建人</source>
        <translation>Creator</translation>
    </message>
    <message>
        <source>备注</source>
        <translation>Remark</translation>
    </message>
    <message>
        <source>帧序列</source>
        <translation>Frames</translation>
    </message>
    <message>
        <source>平均单帧时间</source>
        <translation>Time a frame</translation>
    </message>
    <message>
        <source>开始时间</source>
        <translation>Begun</translation>
    </message>
    <message>
        <source>提交时间</source>
        <translation>Submitted</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Acts</translation>
    </message>
    <message>
        <source>渲染中 | 成功 | 排队 | 失败 | 总帧数</source>
        <translation>Running | Done | Queued | Failed | All</translation>
    </message>
    <message>
        <source>渲染时长</source>
        <translation>Duration</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>结束时间</source>
        <translation>Ended</translation>
    </message>
    <message>
        <source>订单号</source>
        <translation>Order</translation>
    </message>
    <message>
        <source>费用</source>
        <translation>Cost</translation>
    </message>
    <message>
        <source>项目</source>
        <translation>Project</translation>
    </message>
    <message>
        <source>预计剩余</source>
        <translation>Left</translation>
    </message>
    <message>
        <source>预计费用</source>
        <translation>Expected cost</translation>
    </message>
</context>
<context>
    <name>TaskVoice</name>
    <message>
        <source>查看</source>
        <translation>Show</translation>
    </message>
</context>
<context>
    <name>TerragenFillFrame</name>
    <message>
        <source>相机</source>
        <translation>Cameras</translation>
    </message>
</context>
<context>
    <name>ResultRule</name>
    <message>
        <source>路径规则</source>
        <translation>Path rule</translation>
    </message>
    <message>
        <source>项目</source>
        <translation>Project</translation>
    </message>
    <message>
        <source>提交日期</source>
        <translation>Date of submission</translation>
    </message>
    <message>
        <source>订单号</source>
        <translation>Order number</translation>
    </message>
    <message>
        <source>示例：%1</source>
        <translation>Example: %1</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>DriveCheck</name>
    <message>
        <source>仅在本地</source>
        <translation>only here</translation>
    </message>
    <message>
        <source>仅在云盘</source>
        <translation>only on the drive</translation>
    </message>
    <message>
        <source>大小不同</source>
        <translation>another size</translation>
    </message>
    <message>
        <source>内容不同</source>
        <translation>other bytes</translation>
    </message>
    <message>
        <source>本地文件无法读取</source>
        <translation>the local file can't be read</translation>
    </message>
    <message>
        <source>差异清单无法保存，请检查磁盘空间</source>
        <translation>The list of differences can't be saved; check the disk space</translation>
    </message>
    <message>
        <source>客户端未登录</source>
        <translation>The client isn't logged in</translation>
    </message>
    <message>
        <source>%1 中有 %2 项无法使用，已跳过</source>
        <translation>%1: %2 entries can't be used and were skipped</translation>
    </message>
    <message>
        <source>一边是文件，一边是文件夹</source>
        <translation>File on one side, folder on the other</translation>
    </message>
</context>
<context>
    <name>PluginManager</name>
    <message>
        <source>插件管理</source>
        <translation>Plug-ins</translation>
    </message>
    <message>
        <source>软件</source>
        <translation>Software</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>位置</source>
        <translation>Place</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>没有找到可以安装插件的软件</source>
        <translation>No software that takes a plug-in was found</translation>
    </message>
    <message>
        <source>安装软件并启动一次后，点击刷新</source>
        <translation>Install one and start it once, then refresh</translation>
    </message>
    <message>
        <source>已安装</source>
        <translation>Installed</translation>
    </message>
    <message>
        <source>需要修复</source>
        <translation>Needs a repair</translation>
    </message>
    <message>
        <source>未安装</source>
        <translation>Not installed</translation>
    </message>
    <message>
        <source>未安装（没有写入权限）</source>
        <translation>Not installed (can&apos;t be written)</translation>
    </message>
    <message>
        <source>安装</source>
        <translation>Install</translation>
    </message>
    <message>
        <source>修复</source>
        <translation>Repair</translation>
    </message>
    <message>
        <source>卸载</source>
        <translation>Remove</translation>
    </message>
    <message>
        <source>确定卸载选中的 %1 个插件吗？手动修改过的文件会另存保留。</source>
        <translation>Remove the %1 chosen plug-ins? Files that were changed by hand are kept beside.</translation>
    </message>
    <message>
        <source>打开目录</source>
        <translation>Open folder</translation>
    </message>
    <message>
        <source>文件夹打不开：%1</source>
        <translation>The folder can&apos;t be opened: %1</translation>
    </message>
</context>
<context>
    <name>LinkHand</name>
    <message>
        <source>一个链接要打开任务 %1，是否打开？</source>
        <translation>A link wants to open task %1. Open it?</translation>
    </message>
</context>
<context>
    <name>PluginPlaces</name>
    <message>
        <source>以下文件无法写入，请检查权限后重试：
%1</source>
        <translation>These files can&apos;t be written, check the permissions and try again:
%1</translation>
    </message>
    <message>
        <source>以下文件无法删除，请检查权限后重试：
%1</source>
        <translation>These files can&apos;t be removed, check the permissions and try again:
%1</translation>
    </message>
</context>
<context>
    <name>AddDriver</name>
    <message>
        <source>新增盘符</source>
        <translation>Add disk</translation>
    </message>
    <message>
        <source>该名称已存在</source>
        <translation>This name is already taken</translation>
    </message>
    <message>
        <source>盘符</source>
        <translation>Disk</translation>
    </message>
    <message>
        <source>例如 D</source>
        <translation>For example D</translation>
    </message>
    <message>
        <source>机器名</source>
        <translation>Machine</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>正在创建…</source>
        <translation>Creating…</translation>
    </message>
</context>
<context>
    <name>AddFarm</name>
    <message>
        <source>新增农场</source>
        <translation>Add farm</translation>
    </message>
    <message>
        <source>农场</source>
        <translation>Farm</translation>
    </message>
    <message>
        <source>平台</source>
        <translation>Platform</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>请选择农场</source>
        <translation>Please choose a farm</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>DriveDesk</name>
    <message>
        <source>农场没有回应，请检查网络后重试。（%1）</source>
        <translation>The farm doesn’t answer. Check the network and try again. (%1)</translation>
    </message>
</context>
<context>
    <name>DriveInfo</name>
    <message>
        <source>网盘空间</source>
        <translation>Drive space</translation>
    </message>
    <message>
        <source>网盘空间：已用 %1G，共 %2G</source>
        <translation>Drive space: %1G of %2G used</translation>
    </message>
</context>
<context>
    <name>DriveRules</name>
    <message>
        <source>名称长度需小于255</source>
        <translation>A name must be shorter than 255 characters</translation>
    </message>
    <message>
        <source>文件名不能包含下列字符：<byte value="xd"/>
%1</source>
        <translation>A file name can’t contain these characters:<byte value="xd"/>
%1</translation>
    </message>
</context>
<context>
    <name>DriveText</name>
    <message>
        <source>盘符</source>
        <translation>Disk</translation>
    </message>
    <message>
        <source>文件夹</source>
        <translation>Folder</translation>
    </message>
    <message>
        <source>文件</source>
        <translation>File</translation>
    </message>
    <message>
        <source>%1 文件</source>
        <translation>%1 file</translation>
    </message>
    <message>
        <source>大小：%1<byte value="xd"/>
</source>
        <translation>Size: %1<byte value="xd"/>
</translation>
    </message>
    <message>
        <source>名称：%1<byte value="xd"/>
类型：%2<byte value="xd"/>
%3修改日期：%4</source>
        <translation>Name: %1<byte value="xd"/>
Type: %2<byte value="xd"/>
%3Modified: %4</translation>
    </message>
</context>
<context>
    <name>DriveTree</name>
    <message>
        <source>还有 %1 个文件夹…</source>
        <translation>%1 more folders…</translation>
    </message>
</context>
<context>
    <name>DriverPath</name>
    <message>
        <source>后退（Alt+←）</source>
        <translation>Back (Alt+←)</translation>
    </message>
    <message>
        <source>前进（Alt+→）</source>
        <translation>Forward (Alt+→)</translation>
    </message>
    <message>
        <source>上一级（Backspace）</source>
        <translation>Up (Backspace)</translation>
    </message>
    <message>
        <source>刷新（F5）</source>
        <translation>Refresh (F5)</translation>
    </message>
    <message>
        <source>前面的文件夹</source>
        <translation>Folders before</translation>
    </message>
    <message>
        <source>搜索文件（Enter）</source>
        <translation>Search files (Enter)</translation>
    </message>
    <message>
        <source>搜索文件</source>
        <translation>Search files</translation>
    </message>
    <message>
        <source>来自&quot;%1&quot;的搜索</source>
        <translation>Found for &quot;%1&quot;</translation>
    </message>
</context>
<context>
    <name>FarmPage</name>
    <message>
        <source>项目文件</source>
        <translation>Project files</translation>
    </message>
    <message>
        <source>渲染结果</source>
        <translation>Results</translation>
    </message>
    <message>
        <source>文件夹</source>
        <translation>Folders</translation>
    </message>
    <message>
        <source>更多</source>
        <translation>More</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Try again</translation>
    </message>
    <message>
        <source>文件列表</source>
        <translation>Files</translation>
    </message>
    <message>
        <source>正在读取…</source>
        <translation>Reading…</translation>
    </message>
    <message>
        <source>新增盘符后即可存放文件</source>
        <translation>Add a disk to keep files here</translation>
    </message>
    <message>
        <source>拖入文件或文件夹即可上传</source>
        <translation>Drop files or folders here to upload them</translation>
    </message>
    <message>
        <source>没有找到文件</source>
        <translation>No files found</translation>
    </message>
    <message>
        <source>文件夹为空</source>
        <translation>The folder is empty</translation>
    </message>
    <message>
        <source>有 %1 项的名称或编号无法识别，未显示</source>
        <translation>%1 entries with unusable names or ids aren’t shown</translation>
    </message>
    <message>
        <source>文件夹“%1”已不存在，已返回上一级</source>
        <translation>The folder “%1” is gone; this is the one above</translation>
    </message>
    <message>
        <source>打开</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>上传</source>
        <translation>Upload</translation>
    </message>
    <message>
        <source>上传文件夹</source>
        <translation>Upload folder</translation>
    </message>
    <message>
        <source>下载</source>
        <translation>Download</translation>
    </message>
    <message>
        <source>解析</source>
        <translation>Analyse</translation>
    </message>
    <message>
        <source>新增盘符</source>
        <translation>Add disk</translation>
    </message>
    <message>
        <source>创建文件夹</source>
        <translation>New folder</translation>
    </message>
    <message>
        <source>重命名</source>
        <translation>Rename</translation>
    </message>
    <message>
        <source>移动</source>
        <translation>Move</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>复制路径</source>
        <translation>Copy path</translation>
    </message>
    <message>
        <source>打开所在文件夹</source>
        <translation>Open its folder</translation>
    </message>
    <message>
        <source>属性</source>
        <translation>Properties</translation>
    </message>
    <message>
        <source>修改</source>
        <translation>Rename</translation>
    </message>
    <message>
        <source>共 %1 项</source>
        <translation>%1 entries</translation>
    </message>
    <message>
        <source>%1，已选 %2 项（%3）</source>
        <translation>%1, %2 selected (%3)</translation>
    </message>
    <message>
        <source>刷新</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>移动到%1</source>
        <translation>Move to %1</translation>
    </message>
    <message>
        <source>新建文件夹</source>
        <translation>New folder</translation>
    </message>
    <message>
        <source> (创建中 ...)</source>
        <translation> (creating ...)</translation>
    </message>
    <message>
        <source> (重命名中 ...)</source>
        <translation> (renaming ...)</translation>
    </message>
    <message>
        <source>确定删除此盘符吗？盘符内文件将同步删除！</source>
        <translation>Delete this disk? All files on it go with it!</translation>
    </message>
    <message>
        <source>确定删除此文件或文件夹吗？</source>
        <translation>Delete this file or folder?</translation>
    </message>
    <message>
        <source> (删除中 ...)</source>
        <translation> (deleting ...)</translation>
    </message>
    <message>
        <source>不能移动到原来的位置、盘符之外或自身的子文件夹</source>
        <translation>It can’t be moved to where it is, outside of the disks or into itself</translation>
    </message>
    <message>
        <source> (移动中 ...)</source>
        <translation> (moving ...)</translation>
    </message>
    <message>
        <source>选择保存的文件夹</source>
        <translation>Choose a folder to save in</translation>
    </message>
    <message>
        <source>已加入下载列表</source>
        <translation>Added to the downloads</translation>
    </message>
    <message>
        <source>查看</source>
        <translation>Show</translation>
    </message>
    <message>
        <source>选择要上传的文件夹</source>
        <translation>Choose a folder to upload</translation>
    </message>
    <message>
        <source>选择要上传的文件</source>
        <translation>Choose files to upload</translation>
    </message>
    <message>
        <source>余额不足，请充值</source>
        <translation>Your balance is too low, please top up</translation>
    </message>
    <message>
        <source>去充值</source>
        <translation>Top up</translation>
    </message>
    <message>
        <source>您还没有上传文件的权限，请联系您的母账号开通！</source>
        <translation>You have no right to upload files. Please ask your main account for it!</translation>
    </message>
    <message>
        <source>请先打开一个盘符或文件夹，再上传文件</source>
        <translation>Open a disk or folder first, then upload</translation>
    </message>
    <message>
        <source>网盘空间不足，不允许拖入上传</source>
        <translation>The drive has too little space left for this upload</translation>
    </message>
    <message>
        <source>已加入上传列表</source>
        <translation>Added to the uploads</translation>
    </message>
    <message>
        <source>文件已提交解析，请至解析提交页面查看！</source>
        <translation>Handed over for analysis; see the page of analyses!</translation>
    </message>
    <message>
        <source>校验</source>
        <translation>Compare</translation>
    </message>
    <message>
        <source>选择要比较的本机文件夹</source>
        <translation>Choose the folder of this machine to compare</translation>
    </message>
    <message>
        <source>共 %1 项，正在读取…</source>
        <translation>%1 items, still reading…</translation>
    </message>
    <message>
        <source>列表没有读完：%1</source>
        <translation>The list could not be read to its end: %1</translation>
    </message>
    <message>
        <source>%1，已选 %2 项</source>
        <translation>%1, %2 selected</translation>
    </message>
</context>
<context>
    <name>FarmTab</name>
    <message>
        <source>农场已灰度</source>
        <translation>Restricted</translation>
    </message>
    <message>
        <source>农场已禁用</source>
        <translation>Disabled</translation>
    </message>
    <message>
        <source>关闭农场“%1”</source>
        <translation>Close farm “%1”</translation>
    </message>
    <message>
        <source>%1（%2）</source>
        <translation>%1 (%2)</translation>
    </message>
</context>
<context>
    <name>FileProperty</name>
    <message>
        <source>属性</source>
        <translation>Properties</translation>
    </message>
    <message>
        <source>类型：</source>
        <translation>Type:</translation>
    </message>
    <message>
        <source>位置：</source>
        <translation>Place:</translation>
    </message>
    <message>
        <source>大小：</source>
        <translation>Size:</translation>
    </message>
    <message>
        <source>包含：</source>
        <translation>Holds:</translation>
    </message>
    <message>
        <source>订单号：</source>
        <translation>Order:</translation>
    </message>
    <message>
        <source>修改时间：</source>
        <translation>Modified:</translation>
    </message>
    <message>
        <source>创建时间：</source>
        <translation>Created:</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source> (%L1 字节)</source>
        <translation> (%L1 bytes)</translation>
    </message>
    <message>
        <source>%1个文件，%2个文件夹</source>
        <translation>%1 files, %2 folders</translation>
    </message>
</context>
<context>
    <name>FolderModel</name>
    <message>
        <source>名称</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>文件名</source>
        <translation>File name</translation>
    </message>
    <message>
        <source>修改日期</source>
        <translation>Modified</translation>
    </message>
    <message>
        <source>创建日期</source>
        <translation>Created</translation>
    </message>
    <message>
        <source>类型</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>订单号</source>
        <translation>Order</translation>
    </message>
    <message>
        <source>大小</source>
        <translation>Size</translation>
    </message>
    <message>
        <source>文件大小</source>
        <translation>File size</translation>
    </message>
</context>
<context>
    <name>MainDriver</name>
    <message>
        <source>我的云盘</source>
        <translation>My drive</translation>
    </message>
    <message>
        <source>传输列表</source>
        <translation>Transfers</translation>
    </message>
    <message>
        <source>解析提交</source>
        <translation>Analyses</translation>
    </message>
    <message>
        <source>还没有打开的农场，请点击“新增农场”</source>
        <translation>No farm is open; click “Add farm”</translation>
    </message>
    <message>
        <source>云盘设置</source>
        <translation>Drive settings</translation>
    </message>
    <message>
        <source>新增农场</source>
        <translation>Add farm</translation>
    </message>
    <message>
        <source>前面的农场</source>
        <translation>Farms before</translation>
    </message>
    <message>
        <source>后面的农场</source>
        <translation>Farms after</translation>
    </message>
    <message>
        <source>该农场暂时无法使用</source>
        <translation>This farm can’t be used at the moment</translation>
    </message>
    <message>
        <source>可用</source>
        <translation>Usable</translation>
    </message>
    <message>
        <source>切换到列表模式</source>
        <translation>Switch to the list</translation>
    </message>
    <message>
        <source>切换到缩略图模式</source>
        <translation>Switch to thumbnails</translation>
    </message>
</context>
<context>
    <name>MoveFarmFile</name>
    <message>
        <source>文件移动</source>
        <translation>Move files</translation>
    </message>
    <message>
        <source>移动到</source>
        <translation>Move to</translation>
    </message>
    <message>
        <source>将 %1 项移动到：</source>
        <translation>Items to be moved: %1. Move them to:</translation>
    </message>
    <message>
        <source>创建</source>
        <translation>Create</translation>
    </message>
    <message>
        <source>新文件夹的名称</source>
        <translation>Name of the new folder</translation>
    </message>
    <message>
        <source>新建文件夹</source>
        <translation>New folder</translation>
    </message>
    <message>
        <source>移动</source>
        <translation>Move</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>请输入名称</source>
        <translation>Please enter a name</translation>
    </message>
    <message>
        <source>请先选择盘符或文件夹</source>
        <translation>Choose a disk or folder first</translation>
    </message>
    <message>
        <source>正在创建…</source>
        <translation>Creating…</translation>
    </message>
</context>
<context>
    <name>NameItem</name>
    <message>
        <source>新名称</source>
        <translation>New name</translation>
    </message>
</context>
<context>
    <name>DriveConflict</name>
    <message>
        <source>文件已存在</source>
        <translation>Files are there already</translation>
    </message>
    <message>
        <source>下载的文件在本机已存在，例如：<byte value="xd"/>
%1</source>
        <translation>Files of the download are on this machine already, such as:<byte value="xd"/>
%1</translation>
    </message>
    <message>
        <source>跳过相同的文件</source>
        <translation>Skip files that are the same</translation>
    </message>
    <message>
        <source>覆盖本机的文件</source>
        <translation>Overwrite the files on this machine</translation>
    </message>
    <message>
        <source>两个都保留</source>
        <translation>Keep both</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>暂停下载</source>
        <translation>Pause the download</translation>
    </message>
</context>
<context>
    <name>DriveSet</name>
    <message>
        <source>云盘设置</source>
        <translation>Drive settings</translation>
    </message>
    <message>
        <source>上传限速</source>
        <translation>Upload limit</translation>
    </message>
    <message>
        <source>不限</source>
        <translation>No limit</translation>
    </message>
    <message>
        <source>上传前计算MD5，农场已有的文件不再上传</source>
        <translation>Work out the MD5 first and leave out what the farm has</translation>
    </message>
    <message>
        <source>传输文件夹时不包含以下名称（每行一个，可用 * 和 ?，以 / 结尾表示只匹配文件夹）：</source>
        <translation>Names that transfers of folders leave out (one a line, * and ? allowed, a / at the end: folders only):</translation>
    </message>
    <message>
        <source>不传输的名称</source>
        <translation>Names left out</translation>
    </message>
    <message>
        <source>恢复默认</source>
        <translation>Defaults</translation>
    </message>
    <message>
        <source>保存</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>TransferD</name>
    <message>
        <source>%1（%2 个失败）</source>
        <translation>%1 (%2 failed)</translation>
    </message>
    <message>
        <source>本地路径</source>
        <translation>Local path</translation>
    </message>
    <message>
        <source>云盘路径</source>
        <translation>Drive path</translation>
    </message>
    <message>
        <source>文件名称</source>
        <translation>File name</translation>
    </message>
    <message>
        <source>文件大小</source>
        <translation>File size</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>State</translation>
    </message>
    <message>
        <source>文件数</source>
        <translation>Files</translation>
    </message>
    <message>
        <source>完成时间</source>
        <translation>Finished</translation>
    </message>
    <message>
        <source>传输进度</source>
        <translation>Progress</translation>
    </message>
    <message>
        <source>传输速度</source>
        <translation>Speed</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Actions</translation>
    </message>
    <message>
        <source>文件夹打不开：%1</source>
        <translation>The folder can’t be opened: %1</translation>
    </message>
    <message>
        <source>云盘传输</source>
        <translation>Drive transfers</translation>
    </message>
    <message>
        <source>上传列表</source>
        <translation>Uploads</translation>
    </message>
    <message>
        <source>下载列表</source>
        <translation>Downloads</translation>
    </message>
    <message>
        <source>传输完成</source>
        <translation>Finished</translation>
    </message>
    <message>
        <source>暂时没有传输记录呢</source>
        <translation>No transfers yet</translation>
    </message>
    <message>
        <source>把文件或文件夹拖到云盘里即可上传</source>
        <translation>Drop files or folders on the drive to upload them</translation>
    </message>
    <message>
        <source>在云盘里选择文件，点击“下载”</source>
        <translation>Choose files on the drive and press “Download”</translation>
    </message>
    <message>
        <source>完成的传输会记录在这里</source>
        <translation>Finished transfers are kept here</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>选中的 %1 项</source>
        <translation>the %1 selected</translation>
    </message>
    <message>
        <source>确定删除%1的记录吗？文件不受影响。</source>
        <translation>Delete the record of %1? Files stay as they are.</translation>
    </message>
    <message>
        <source>确定删除%1吗？已经传输的文件会保留。</source>
        <translation>Delete %1? What has been transferred stays.</translation>
    </message>
    <message>
        <source>目录</source>
        <translation>Folder</translation>
    </message>
    <message>
        <source>继续</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>暂停</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>上传</source>
        <translation>uploaded</translation>
    </message>
    <message>
        <source>下载</source>
        <translation>downloaded</translation>
    </message>
    <message>
        <source>传输</source>
        <translation>transferred</translation>
    </message>
    <message>
        <source>总计：已%1文件数%2，待%1文件数%3，总文件数%4</source>
        <translation>Total: %1 %2, still to be %1 %3, files in all %4</translation>
    </message>
</context>
<context>
    <name>SoftwareUpdateManager</name>
    <message>
        <source>此版本没有发布者的密钥，不能更新</source>
        <translation>This build knows no publisher&apos;s key and can&apos;t be updated</translation>
    </message>
    <message>
        <source>没有取得更新列表：%1</source>
        <translation>The list of updates couldn&apos;t be had: %1</translation>
    </message>
    <message>
        <source>软件都是最新版本</source>
        <translation>All software is up to date</translation>
    </message>
    <message>
        <source>更新程序没有回答</source>
        <translation>The updater gave no answer</translation>
    </message>
</context>
<context>
    <name>CheckTree</name>
    <message>
        <source>校验</source>
        <translation>Compare</translation>
    </message>
    <message>
        <source>文件</source>
        <translation>File</translation>
    </message>
    <message>
        <source>差异</source>
        <translation>Difference</translation>
    </message>
    <message>
        <source>差异列表</source>
        <translation>Differences</translation>
    </message>
    <message>
        <source>没有差异</source>
        <translation>Nothing differs</translation>
    </message>
    <message>
        <source>补传到云盘</source>
        <translation>Send what differs</translation>
    </message>
    <message>
        <source>补下到本机</source>
        <translation>Fetch what differs</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>正在校验：已比较 %1 个文件，%2 个不同</source>
        <translation>Comparing: %1 files so far, %2 differ</translation>
    </message>
    <message>
        <source>已比较 %1 个文件，%2 个不同</source>
        <translation>%1 files compared, %2 differ</translation>
    </message>
    <message>
        <source>校验没有完成</source>
        <translation>The comparison isn’t complete</translation>
    </message>
    <message>
        <source>停止</source>
        <translation>Stop</translation>
    </message>
    <message>
        <source>重新校验</source>
        <translation>Compare again</translation>
    </message>
    <message>
        <source>正在加入传输列表…</source>
        <translation>Adding to the transfers…</translation>
    </message>
    <message>
        <source>%1 个文件云盘没有提供校验值，只比较了大小</source>
        <translation>The drive gives no checksum for %1 files: compared by size only</translation>
    </message>
    <message>
        <source>列表只显示前 %1 项，补传和补下包括全部</source>
        <translation>The list shows the first %1; sending and fetching cover all</translation>
    </message>
    <message>
        <source>传输无法保存</source>
        <translation>The transfer can't be saved</translation>
    </message>
    <message>
        <source>%1 项仅在本地或两边不同</source>
        <translation>%1 only here or different</translation>
    </message>
    <message>
        <source>%1 项仅在云盘或两边不同</source>
        <translation>%1 only on the drive or different</translation>
    </message>
</context>
<context>
    <name>UploadDDAO</name>
    <message>
        <source>传输记录曾损坏，缺 %1 个文件，请核对</source>
        <translation>The record of this transfer was damaged, %1 files are missing from it; please compare both sides</translation>
    </message>
</context>
<context>
    <name>CloudQueue</name>
    <message>
        <source>农场的解析服务的回复无法读取</source>
        <translation>The replies of the farm's analysis service can't be read</translation>
    </message>
    <message>
        <source>农场的解析服务没有应答，恢复后自动继续</source>
        <translation>The farm's analysis service doesn't answer; it goes on by itself once it does</translation>
    </message>
</context>
<context>
    <name>CloudReply</name>
    <message>
        <source>解析结果过大（%1 MB），无法使用</source>
        <translation>The analysis result is too big to be used (%1 MB)</translation>
    </message>
</context>
</TS>
